#include "app/FileArguments.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace torvo {

namespace {

/// The file that an argument names. "." and repeated slashes go by text; ".." after the name of a link leaves the
/// link's target, as the system reads it.
FileURL named(std::string_view path, const FileURL& present) {
    const auto url = resolvingPath(path, present);
    const auto steps = split(url.path(), '/');
    if (std::ranges::find(steps, "..") == steps.end())
        return url.standardized();
    std::error_code failure;
    const bool isFolder = url.lastPathComponent() == "..";
    const auto folder = std::filesystem::canonical((isFolder ? url : url.deletingLastPathComponent()).path(), failure);
    if (failure)
        return url.standardized();
    const FileURL real(folder.native());
    return isFolder ? real : real.appendingPath(url.lastPathComponent()).standardized();
}

std::expected<std::string, std::string> readList(const std::string& name) {
    using Characters = std::istreambuf_iterator<char>;
    if (name == "-")
        return std::string(Characters(std::cin), Characters());
    std::error_code failure;
    if (std::filesystem::is_directory(name, failure))
        return std::unexpected(fmt::format("cannot read the list {}: it is a folder", name));
    std::ifstream file(name, std::ios::binary);
    if (!file)
        return std::unexpected(fmt::format("cannot read the list {}: {}", name, std::strerror(errno)));
    return std::string(Characters(file), Characters());
}

} // namespace

std::vector<std::string> pathsInList(std::string_view list, char separator) {
    std::vector<std::string> paths;
    for (const auto path : split(list, separator)) {
        if (!path.empty())
            paths.emplace_back(path);
    }
    return paths;
}

std::expected<std::vector<FileURL>, std::string> filesFromArguments(const std::vector<std::string>& paths,
                                                                    const std::string& listName, char separator) {
    auto all = paths;
    if (!listName.empty()) {
        const auto list = readList(listName);
        if (!list)
            return std::unexpected(list.error());
        auto listed = pathsInList(*list, separator);
        // "None" must not come to mean what no files at all would mean.
        if (all.empty() && listed.empty())
            return std::unexpected("the list names no file");
        all.insert(all.end(), std::make_move_iterator(listed.begin()), std::make_move_iterator(listed.end()));
    }
    std::error_code failure;
    const FileURL present(std::filesystem::current_path(failure).native());
    std::vector<FileURL> files;
    for (const auto& path : all) {
        if (path.empty() || (failure && !path.starts_with('/')))
            return std::unexpected(fmt::format("“{}” names no file", path));
        files.push_back(named(path, present));
    }
    return files;
}

} // namespace torvo
