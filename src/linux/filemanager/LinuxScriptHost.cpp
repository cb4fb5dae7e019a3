#include "linux/filemanager/LinuxScriptHost.h"

#include "platform/FinderScripts.h"

namespace torvo {

std::expected<std::string, std::string> LinuxScriptHost::run(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2 || arguments[0] != "-e")
        return "";
    const std::string& script = arguments[1];
    if (script == kSetSelectionScript) {
        m_fileManagers.select({arguments.begin() + 2, arguments.end()});
        return "";
    }
    if (arguments.size() != 2)
        return "";
    if (script == kClearSelectionScript) {
        m_fileManagers.select({});
        return "";
    }
    if (script == kFrontFolderScript)
        return m_fileManagers.frontFolder().value_or("") + '\n';
    std::string output;
    if (script == kSelectionScript) {
        for (const auto& path : m_fileManagers.selection())
            if (path.find('\n') == std::string::npos)
                output += path + '\n';
    }
    return output;
}

} // namespace torvo
