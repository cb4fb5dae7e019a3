#pragma once

#include "platform/LoginItem.h"
#include "support/FileURL.h"

#include <string>
#include <vector>

namespace torvo {

/// The login item as an entry for the desktop's session (Desktop Application Autostart Specification): the file
/// autostart/torvo.desktop below the user's configuration folder.
///
/// An entry for another program under that name is left alone: it counts as not registered, and registering says that
/// it is in the way.
class AutostartLoginItem final : public LoginItem {
  public:
    /// `configurationFolder`: $XDG_CONFIG_HOME or what stands for it. `command`: the program to start, by its path, and
    /// its arguments.
    AutostartLoginItem(const FileURL& configurationFolder, std::vector<std::string> command);

    /// Not found: there is an entry, but the program that it starts is not there.
    LoginItemStatus status() override;
    std::expected<void, std::string> registerItem() override;
    std::expected<void, std::string> unregisterItem() override;

  private:
    FileURL m_file;
    std::vector<std::string> m_command;
};

/// An argument list as the value of the key Exec, every argument quoted (Desktop Entry Specification, "The Exec key"),
/// not yet escaped as the values of all keys are.
[[nodiscard]] std::string execText(const std::vector<std::string>& command);

} // namespace torvo
