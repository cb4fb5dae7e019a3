#include "linux/filemanager/LinuxScriptHost.h"

#include "platform/FinderScripts.h"

namespace torvo {

namespace {

/// Whether a path can be told from the others in a list of a path a line, where a line that does not begin with a slash
/// continues the one before it and empty lines do not count.
bool fitsIntoLines(const std::string& path) {
    return !path.ends_with('\n') && path.find("\n\n") == std::string::npos && path.find("\n/") == std::string::npos &&
           path.find("/\n") == std::string::npos;
}

} // namespace

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
            if (fitsIntoLines(path))
                output += path + '\n';
    }
    return output;
}

} // namespace torvo
