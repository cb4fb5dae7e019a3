#pragma once

#include "platform/UserDefaults.h"

#include <nlohmann/json.hpp>

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// Reads the text of a settings file: one JSON object. The error is one line that says what is wrong.
[[nodiscard]] std::expected<nlohmann::json, std::string> parseSettings(std::string_view text);

/// The text of a settings file, for people to read too. Fails on texts and keys that are not UTF-8.
[[nodiscard]] std::expected<std::string, std::string> settingsText(const nlohmann::json& document);

/// A value as it stands in the file: bytes as {"data": base64}, everything else as JSON's own types. Fails on numbers
/// that JSON does not know.
[[nodiscard]] std::expected<nlohmann::json, std::string> settingsJson(const DefaultsValue& value);

/// The value that stands in the file; absent when it has another shape than `settingsJson` makes.
[[nodiscard]] std::optional<DefaultsValue> settingsValue(const nlohmann::json& json);

} // namespace torvo
