#include "linux/LinuxWorkspace.h"

namespace torvo {

std::optional<std::string> LinuxWorkspace::frontmostApplication() {
    const auto window = m_platform.front.window();
    if (!window)
        return std::nullopt;
    auto name = m_platform.connection.windowClass(*window);
    if (isFileManager(name))
        return std::string(kFinderIdentifier);
    return name.empty() ? std::nullopt : std::optional(std::move(name));
}

std::vector<std::int32_t> LinuxWorkspace::runningApplications(std::string_view identifier) {
    // Nobody asks for any other.
    return identifier == kFinderIdentifier ? m_platform.fileManagers.processes() : std::vector<std::int32_t>();
}

void LinuxWorkspace::activate(std::string_view identifier) {
    const auto window = identifier == kFinderIdentifier ? m_platform.fileManagers.frontWindow() : std::nullopt;
    if (!window)
        return;
    m_platform.connection.activate(*window);
    m_platform.front.expect(*window);
}

Subscription LinuxWorkspace::onActivation(std::function<void()> activated) {
    return m_platform.front.onActivation(std::move(activated));
}

} // namespace torvo
