#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// Bytes as text in the alphabet of RFC 4648, section 4, padded, on one line.
[[nodiscard]] std::string base64Encoded(std::string_view bytes);

/// The bytes that `text` stands for; absent unless `text` is exactly what `base64Encoded` makes of some bytes.
[[nodiscard]] std::optional<std::string> base64Decoded(std::string_view text);

} // namespace torvo
