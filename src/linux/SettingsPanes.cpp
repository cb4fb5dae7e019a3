#include "linux/SettingsPanes.h"

#include "support/Text.h"

#include <array>

namespace torvo {

namespace {

constexpr std::string_view kPrivacyPane = "x-apple.systempreferences:com.apple.preference.security?";
constexpr std::string_view kExtensionsPane = "x-apple.systempreferences:com.apple.ExtensionsPreferences?";

enum class Pane { accessibility, privacy, extensions };

/// The command, its words between spaces, for one pane of one desktop.
struct SettingsProgram {
    std::string_view desktop;
    Pane pane;
    std::string_view command;
};

/// The closest command of a desktop comes first; those that follow are for other releases of the desktop.
constexpr std::array kPrograms{
    SettingsProgram{"GNOME", Pane::accessibility, "gnome-control-center universal-access"},
    SettingsProgram{"GNOME", Pane::privacy, "gnome-control-center privacy"},
    SettingsProgram{"GNOME", Pane::extensions, "gnome-control-center applications"},
    SettingsProgram{"X-Cinnamon", Pane::accessibility, "cinnamon-settings accessibility"},
    SettingsProgram{"X-Cinnamon", Pane::privacy, "cinnamon-settings privacy"},
    SettingsProgram{"X-Cinnamon", Pane::extensions, "cinnamon-settings"},
    SettingsProgram{"KDE", Pane::accessibility, "systemsettings kcm_access"},
    SettingsProgram{"KDE", Pane::accessibility, "systemsettings5 kcm_access"},
    SettingsProgram{"KDE", Pane::privacy, "systemsettings"},
    SettingsProgram{"KDE", Pane::privacy, "systemsettings5"},
    SettingsProgram{"KDE", Pane::extensions, "systemsettings"},
    SettingsProgram{"KDE", Pane::extensions, "systemsettings5"},
    SettingsProgram{"XFCE", Pane::accessibility, "xfce4-accessibility-settings"},
    SettingsProgram{"XFCE", Pane::privacy, "xfce4-settings-manager"},
    SettingsProgram{"XFCE", Pane::extensions, "xfce4-settings-manager"},
    SettingsProgram{"MATE", Pane::accessibility, "mate-at-properties"},
    SettingsProgram{"MATE", Pane::privacy, "mate-control-center"},
    SettingsProgram{"MATE", Pane::extensions, "mate-control-center"},
    SettingsProgram{"LXQt", Pane::accessibility, "lxqt-config"},
    SettingsProgram{"LXQt", Pane::privacy, "lxqt-config"},
    SettingsProgram{"LXQt", Pane::extensions, "lxqt-config"},
};

} // namespace

bool isSettingsAddress(std::string_view address) {
    return address.starts_with(kPrivacyPane) || address.starts_with(kExtensionsPane);
}

std::vector<std::vector<std::string>> settingsCommands(std::string_view address, std::string_view desktops) {
    if (!isSettingsAddress(address))
        return {};
    const bool isPrivacy = address.starts_with(kPrivacyPane);
    const bool isAccessibility = isPrivacy && address.substr(kPrivacyPane.size()) == "Privacy_Accessibility";
    const auto pane = isAccessibility ? Pane::accessibility : isPrivacy ? Pane::privacy : Pane::extensions;
    std::vector<std::vector<std::string>> commands;
    for (const auto name : splitNonEmpty(desktops, ":")) {
        for (const auto& program : kPrograms) {
            if (lowercased(program.desktop) != lowercased(name) || program.pane != pane)
                continue;
            auto& command = commands.emplace_back();
            for (const auto word : splitNonEmpty(program.command, " "))
                command.emplace_back(word);
        }
    }
    return commands;
}

} // namespace torvo
