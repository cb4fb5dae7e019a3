#include "assistance/EnvironmentHealthService.h"

#include "assistance/ToolRun.h"
#include "support/Text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <set>
#include <utility>

namespace torvo {

namespace {

struct Definition {
    const char* name;
    const char* purpose;
    /// Empty for tools of the system.
    const char* package;
};

constexpr std::array kDefinitions{
    Definition{"sips", "Built-in image conversion", ""}, Definition{"zip", "Built-in archives", ""},
    Definition{"ffmpeg", "Video and audio", "ffmpeg"},   Definition{"magick", "Advanced images", "imagemagick"},
    Definition{"gs", "PDF compression", "ghostscript"},  Definition{"qpdf", "PDF repair and transforms", "qpdf"},
    Definition{"pdfunite", "Merge PDFs", "poppler"},     Definition{"exiftool", "Metadata cleanup", "exiftool"}};

bool isExecutableFile(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

} // namespace

const std::vector<std::string>& toolLocations() {
    static const std::vector<std::string> locations{"/opt/homebrew/bin/", "/usr/local/bin/", "/usr/bin/", "/bin/",
                                                    "/Applications/Ollama.app/Contents/Resources/"};
    return locations;
}

std::optional<std::string> executableNamed(std::string_view name, const std::vector<std::string>& locations) {
    for (const auto& location : locations) {
        if (auto path = location + std::string(name); isExecutableFile(path))
            return path;
    }
    return std::nullopt;
}

EnvironmentHealthService::EnvironmentHealthService(Platform platform) : m_platform(std::move(platform)) {
    refresh();
}

void EnvironmentHealthService::refresh() {
    m_tools.clear();
    for (const auto& [name, purpose, package] : kDefinitions) {
        m_tools.push_back({name, purpose, *package == '\0' ? std::nullopt : std::optional<std::string>(package),
                           executableNamed(name, m_platform.locations)});
    }
    m_observers.notify();
}

std::vector<std::string> EnvironmentHealthService::missingPackages() const {
    std::set<std::string> packages;
    for (const auto& tool : m_tools) {
        if (!tool.path && tool.package)
            packages.insert(*tool.package);
    }
    return {packages.begin(), packages.end()};
}

void EnvironmentHealthService::say(std::string status) {
    m_status = std::move(status);
    m_observers.notify();
}

void EnvironmentHealthService::installMissing() {
    const auto packages = missingPackages();
    if (packages.empty())
        return say("All optional tools are installed.");
    const auto brew = executableNamed("brew", m_platform.locations);
    if (!brew) {
        m_platform.workspace.open("https://brew.sh");
        return say("Install Homebrew, then return here.");
    }
    m_isInstalling = true;
    say("Installing " + joined(packages, ", ") + "…");
    std::vector<std::string> arguments{"install"};
    arguments.insert(arguments.end(), packages.begin(), packages.end());
    m_platform.dispatcher.runDetached([this, alive = std::weak_ptr(m_alive), &dispatcher = m_platform.dispatcher,
                                       &processes = m_platform.processes, brew = *brew, arguments,
                                       stop = m_stop.get_token()] {
        const auto run = runTool(processes, brew, arguments, stop);
        dispatcher.runOnMain([this, alive, run] {
            if (alive.expired())
                return;
            m_isInstalling = false;
            if (!run)
                return say("Install failed: " + run.error());
            refresh();
            say(run->status == 0 ? "Optional tools installed." : "Install failed: " + run->reason());
        });
    });
}

} // namespace torvo
