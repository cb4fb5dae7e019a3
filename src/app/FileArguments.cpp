#include "app/FileArguments.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace torvo {

namespace {

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
        all.insert(all.end(), std::make_move_iterator(listed.begin()), std::make_move_iterator(listed.end()));
    }
    std::error_code failure;
    const FileURL present(std::filesystem::current_path(failure).native());
    std::vector<FileURL> files;
    for (const auto& path : all) {
        if (path.empty() || (failure && !path.starts_with('/')))
            return std::unexpected(fmt::format("“{}” names no file", path));
        files.push_back(resolvingPath(path, present).standardized());
    }
    return files;
}

} // namespace torvo
