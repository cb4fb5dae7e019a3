#pragma once

#include <string_view>

namespace torvo {

/// Whether the bytes are well-formed UTF-8 as the Unicode Standard defines it (table 3-7): no overlong forms, no
/// surrogates, nothing above U+10FFFF, no sequence cut short. Empty input is well-formed.
[[nodiscard]] bool isValidUTF8(std::string_view bytes);

} // namespace torvo
