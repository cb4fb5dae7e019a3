#include "app/Services.h"

#include "support/Text.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace torvo {

namespace {

/// The system's image tool, else ours beside the program.
std::string imageTool() {
    constexpr const char* system = "/usr/bin/sips";
    if (::access(system, X_OK) == 0)
        return system;
    return programFolder().appendingPath("sips").path();
}

/// The program with the HTTP client, in ../libexec/torvo/ beside the folder of the program.
std::string httpProgram() {
    return programFolder().deletingLastPathComponent().appendingPath("libexec/torvo/torvo-http").path();
}

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view{} : value;
}

} // namespace

FileURL programFolder() {
    std::error_code failure;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
    return FileURL(program.native()).deletingLastPathComponent();
}

FileURL homeFolder() {
    if (const auto home = variable("HOME"); home.starts_with('/'))
        return FileURL(std::string(home));
    const auto* account = ::getpwuid(::getuid());
    return account != nullptr && account->pw_dir != nullptr ? FileURL(account->pw_dir) : FileURL("/tmp");
}

FileURL applicationSupportFolder() {
    if (const auto folder = variable("XDG_DATA_HOME"); folder.starts_with('/'))
        return FileURL(std::string(folder));
    return homeFolder().appendingPath(".local/share");
}

void addToolsToSearchPath() {
    // Without a search path children get these four; the tools come after them as after any other.
    const bool isSet = std::getenv("PATH") != nullptr;
    const auto path = isSet ? variable("PATH") : "/usr/bin:/bin:/usr/sbin:/sbin";
    const auto tools = programFolder().path();
    const auto folders = split(path, ':');
    if (std::ranges::find(folders, tools) != folders.end())
        return;
    ::setenv("PATH", (std::string(path) + ":" + tools).c_str(), 1);
}

FileURL commandLogFile() {
    const auto folder = applicationSupportFolder();
    std::error_code failure;
    std::filesystem::create_directories(folder.path(), failure);
    return (failure ? FileURL("/tmp") : folder).appendingPath("Torvo/command-log.jsonl");
}

Services::Services(Dispatcher* dispatcher)
    : settingsFile(SettingsFile::defaultLocation()),
      settingsBeside(dispatcher == nullptr
                         ? std::nullopt
                         : std::optional<SettingsBeside>(std::in_place, settingsFile, diskQueue, *dispatcher)),
      defaults(settingsBeside ? static_cast<UserDefaults&>(*settingsBeside) : settingsFile),
      session(httpProgram()),
      log(commandLogFile(), defaults, diskQueue),
      environment{{.imageTool = imageTool()}, applicationSupportFolder()},
      executor(presets, {defaults, session, processes, log, environment}) {}

} // namespace torvo
