#include "support/FileURL.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace torvo {

namespace {

std::string_view extensionOf(std::string_view name) {
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return {};
    return name.substr(dot + 1);
}

} // namespace

FileURL::FileURL(std::string path) : m_path(std::move(path)) {
    while (m_path.size() > 1 && m_path.back() == '/')
        m_path.pop_back();
    if (m_path.empty())
        m_path = "/";
}

std::string_view FileURL::lastPathComponent() const {
    const std::string_view path = m_path;
    if (path == "/")
        return path;
    return path.substr(path.rfind('/') + 1);
}

std::string_view FileURL::pathExtension() const {
    return extensionOf(lastPathComponent());
}

FileURL FileURL::deletingLastPathComponent() const {
    const auto slash = m_path.rfind('/');
    if (slash == std::string::npos || slash == 0)
        return FileURL("/");
    return FileURL(m_path.substr(0, slash));
}

FileURL FileURL::deletingPathExtension() const {
    const auto extension = pathExtension();
    if (extension.empty())
        return *this;
    return FileURL(m_path.substr(0, m_path.size() - extension.size() - 1));
}

FileURL FileURL::appendingPath(std::string_view relative) const {
    std::string path = m_path;
    if (path.back() != '/')
        path += '/';
    path += relative;
    return FileURL(std::move(path));
}

FileURL FileURL::standardized() const {
    std::vector<std::string_view> kept;
    std::string_view rest = m_path;
    while (!rest.empty()) {
        const auto slash = std::min(rest.find('/'), rest.size());
        const auto segment = rest.substr(0, slash);
        rest.remove_prefix(std::min(slash + 1, rest.size()));
        if (segment.empty() || segment == ".")
            continue;
        if (segment != "..")
            kept.push_back(segment);
        else if (!kept.empty())
            kept.pop_back();
    }
    std::string path;
    for (const auto segment : kept) {
        path += '/';
        path += segment;
    }
    return FileURL(std::move(path));
}

bool FileURL::exists() const {
    struct stat status{};
    // A name cannot hold a NUL byte; the system would see only what stands before it.
    return m_path.find('\0') == std::string::npos && ::stat(m_path.c_str(), &status) == 0;
}

bool FileURL::isOccupied() const {
    struct stat status{};
    // A name with a NUL byte is free for nobody.
    return m_path.find('\0') != std::string::npos || ::lstat(m_path.c_str(), &status) == 0;
}

std::vector<std::string> pathsOf(const std::vector<FileURL>& urls) {
    std::vector<std::string> paths;
    paths.reserve(urls.size());
    std::ranges::transform(urls, std::back_inserter(paths), &FileURL::path);
    return paths;
}

FileURL resolvingPath(std::string_view path, const FileURL& folder) {
    if (path.starts_with('/'))
        return FileURL(std::string(path));
    return folder.appendingPath(path);
}

} // namespace torvo
