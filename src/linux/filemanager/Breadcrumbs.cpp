#include "linux/filemanager/Breadcrumbs.h"

#include "linux/filemanager/ShownNames.h"

#include <sys/stat.h>

#include <fstream>

namespace torvo {

namespace {

bool isFolder(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Goes down from `folder` by the shown names; a name that is not UTF-8 is found through its folder's list.
std::optional<std::string> descend(std::string folder, const std::vector<std::string>& crumbs) {
    for (std::size_t i = 1; i < crumbs.size(); ++i) {
        std::string next = (folder == "/" ? "" : folder) + "/" + crumbs[i];
        if (!isFolder(next)) {
            auto listed = ShownNames(folder).path(crumbs[i]);
            if (!listed || !isFolder(*listed))
                return std::nullopt;
            next = *std::move(listed);
        }
        folder = std::move(next);
    }
    return folder;
}

} // namespace

std::optional<std::string> folderOfBreadcrumbs(const std::vector<std::string>& crumbs,
                                               const std::vector<std::string>& roots) {
    if (crumbs.empty())
        return std::nullopt;
    if (crumbs.front() == "/" || crumbs.front().empty())
        return descend("/", crumbs);
    for (const auto& root : roots) {
        if (isFolder(root))
            if (auto folder = descend(root, crumbs))
                return folder;
    }
    return descend("/", crumbs);
}

std::optional<std::string> homeOfProcess(int pid) {
    std::ifstream environment("/proc/" + std::to_string(pid) + "/environ", std::ios::binary);
    for (std::string variable; std::getline(environment, variable, '\0');) {
        if (variable.starts_with("HOME=/"))
            return variable.substr(5);
    }
    return std::nullopt;
}

} // namespace torvo
