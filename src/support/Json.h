#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

namespace torvo {

/// Declared here only: who looks into a document includes <nlohmann/json.hpp>.
using Json = nlohmann::json;

/// The deepest nesting of arrays and objects that a document may have.
constexpr std::size_t kMaximumJsonDepth = 512;

/// Reads one JSON document (RFC 8259) strictly: no byte order mark, no comments, UTF-8 only, nothing after the value,
/// at most `kMaximumJsonDepth` levels. The error says what is wrong with the text, as the
/// end of a sentence: "it is nested too deeply".
[[nodiscard]] std::expected<Json, std::string> parseJson(std::string_view text);

/// The document on one line, members sorted by key, slashes not escaped. Ill-formed UTF-8 in texts becomes U+FFFD.
[[nodiscard]] std::string compactJson(const Json& document);

/// The value of a member; null when `object` is no object or lacks the member. The pointer lives as long as `object`.
[[nodiscard]] const Json* memberOf(const Json& object, const char* key);

} // namespace torvo
