#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Whether an address names a pane of the system's settings.
[[nodiscard]] bool isSettingsAddress(std::string_view address);

/// What shows the pane that an address of the system's settings names, or comes closest to it, on the desktop that
/// `desktops` names ($XDG_CURRENT_DESKTOP: names between colons, the closest first): commands, to be tried in order
/// until one can be started. Empty for an unknown desktop or another address.
[[nodiscard]] std::vector<std::vector<std::string>> settingsCommands(std::string_view address,
                                                                     std::string_view desktops);

} // namespace torvo
