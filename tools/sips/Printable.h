#pragma once

#include <string>
#include <string_view>

namespace torvo::sips {

/// Text that fits on one line of a terminal: control characters and bytes that are not UTF-8 become \xNN.
[[nodiscard]] std::string printable(std::string_view bytes);

} // namespace torvo::sips
