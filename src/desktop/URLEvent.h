#pragma once

#include "support/FileURL.h"

#include <optional>
#include <string_view>
#include <vector>

namespace torvo {

/// The scheme of the addresses that other programs open to reach the bar.
constexpr std::string_view kURLScheme = "torvo";

/// The files that an address such as "torvo:?files=/a%0A/b" hands to the bar: the value of the first query item
/// "files", percent-decoded and split at line feeds. Empty when it names none, which asks for the bar itself; absent
/// when the address has another scheme. Values are bytes: a name need not be UTF-8. "+" stands for itself (RFC 3986).
/// An address with a broken percent sign has no query items; what cannot be an absolute path is left out.
[[nodiscard]] std::optional<std::vector<FileURL>> filesOfURL(std::string_view address);

} // namespace torvo
