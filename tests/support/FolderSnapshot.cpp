#include "tests/support/FolderSnapshot.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace torvo::testing {

namespace {

std::string attributesOf(const std::string& path) {
    std::array<char, 4096> names{};
    const ssize_t length = ::llistxattr(path.c_str(), names.data(), names.size());
    std::string all;
    for (ssize_t at = 0; at < length;) {
        const std::string name(names.data() + at);
        std::array<char, 4096> value{};
        const ssize_t size = ::lgetxattr(path.c_str(), name.c_str(), value.data(), value.size());
        all += name + "=" + std::string(value.data(), size > 0 ? static_cast<std::size_t>(size) : 0) + ";";
        at += static_cast<ssize_t>(name.size()) + 1;
    }
    return all;
}

std::string describe(const std::string& path) {
    struct stat info{};
    if (::lstat(path.c_str(), &info) != 0)
        return "gone";
    std::string content;
    if (S_ISLNK(info.st_mode))
        content = std::filesystem::read_symlink(path).string();
    if (S_ISREG(info.st_mode)) {
        std::ifstream in(path, std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(in), {});
    }
    return fmt::format("mode {:o} owner {}:{} size {} links {} modified {}.{} changed {}.{} attributes {} content {}",
                       info.st_mode, info.st_uid, info.st_gid, info.st_size, info.st_nlink, info.st_mtim.tv_sec,
                       info.st_mtim.tv_nsec, info.st_ctim.tv_sec, info.st_ctim.tv_nsec, attributesOf(path), content);
}

} // namespace

FolderSnapshot takeSnapshot(const std::string& folder) {
    FolderSnapshot snapshot{{"", describe(folder)}};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        snapshot[std::filesystem::relative(entry.path().parent_path(), folder) / entry.path().filename()] =
            describe(entry.path().string());
    return snapshot;
}

} // namespace torvo::testing
