#pragma once

#include "execution/CommandLog.h"
#include "linux/LinuxProcessHost.h"
#include "linux/ProgramHttpSession.h"
#include "linux/SettingsBeside.h"
#include "linux/SettingsFile.h"
#include "linux/ThreadQueue.h"
#include "planning/CommandExecutor.h"

#include <optional>

namespace torvo {

/// Where this program and its tools are.
[[nodiscard]] FileURL programFolder();
/// The user's home folder: $HOME, else the account's.
[[nodiscard]] FileURL homeFolder();
/// Where programs keep a user's data: $XDG_DATA_HOME, else ~/.local/share (XDG Base Directory Specification).
[[nodiscard]] FileURL applicationSupportFolder();

/// Where the command log is kept: in the folder "Torvo" of the application-support folder, which is made when missing,
/// else of the folder for temporary files.
[[nodiscard]] FileURL commandLogFile();

/// Appends the folder of this program's own tools to PATH, unless it is there, so that users' commands find them. To be
/// called once, before any thread starts.
void addToolsToSearchPath();

/// Everything that a program of ours is made of on this machine. Nothing is read or started before its first use.
struct Services {
    /// With a dispatcher, changes of the settings are written beside its main thread, else by whoever makes them.
    explicit Services(Dispatcher* dispatcher = nullptr);

    LinuxProcessHost processes;
    SettingsFile settingsFile;
    ThreadQueue diskQueue;
    std::optional<SettingsBeside> settingsBeside;
    UserDefaults& defaults;
    ProgramHttpSession session;
    CommandLog log;
    RunnerEnvironment environment;
    PresetPlanner presets;
    CommandExecutor executor;
};

} // namespace torvo
