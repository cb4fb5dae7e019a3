#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace torvo {

/// The one line that explains a failed run to the user: the last line of standard error (of standard output when that
/// is empty) that names a well-known cause, else the last that speaks of an error, else the last one, trimmed; "exit
/// code N" when nothing was said. A line of more than 2000 bytes is cut. Both streams are UTF-8.
[[nodiscard]] std::string errorLine(std::string_view standardOutput, std::string_view standardError,
                                    std::int32_t status);

} // namespace torvo
