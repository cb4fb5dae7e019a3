#include "linux/ProcessTable.h"

#include "support/Descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <string>

namespace torvo::process_table {

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

template <typename Number>
std::optional<Number> number(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

/// Calls `visit` with every entry of a /proc folder whose name is a number.
template <typename Visit>
bool forEachNumber(const std::string& path, Visit visit) {
    const Folder folder(::opendir(path.c_str()));
    if (folder == nullptr)
        return false;
    while (const dirent* const entry = ::readdir(folder.get()))
        if (const auto value = number<std::int32_t>(entry->d_name))
            visit(*value);
    return true;
}

bool readInto(const char* path, std::string& content) {
    const Descriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    if (!file.isOpen())
        return false;
    content.clear();
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = ::read(file.get(), buffer.data(), buffer.size())) > 0)
        content.append(buffer.data(), static_cast<std::size_t>(count));
    return count == 0;
}

/// The word before the first space, which is taken off `text` with it.
std::string_view takeWord(std::string_view& text) {
    const auto end = std::min(text.find_first_of(" \n"), text.size());
    const auto word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

} // namespace

std::optional<Status> parseStatus(std::string_view text) {
    const auto nameEnd = text.rfind(')');
    if (nameEnd == std::string_view::npos || text.size() < nameEnd + 2)
        return std::nullopt;
    text.remove_prefix(nameEnd + 2);
    Status status;
    constexpr int kState = 3;
    constexpr int kParent = 4;
    constexpr int kStartTime = 22;
    for (int field = kState; field <= kStartTime; ++field) {
        const auto word = takeWord(text);
        if (word.empty())
            return std::nullopt;
        if (field == kState)
            status.state = word.front();
        if (field == kParent)
            status.parent = number<std::int32_t>(word).value_or(0);
        if (field == kStartTime) {
            const auto ticks = number<std::uint64_t>(word);
            if (!ticks)
                return std::nullopt;
            status.startTicks = *ticks;
        }
    }
    return status;
}

std::optional<Status> status(std::int32_t pid) {
    std::array<char, 32> path{};
    fmt::format_to_n(path.data(), path.size() - 1, "/proc/{}/stat", pid);
    const Descriptor file(::open(path.data(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> buffer;
    const ssize_t count = file.isOpen() ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
    return count > 0 ? parseStatus({buffer.data(), static_cast<std::size_t>(count)}) : std::nullopt;
}

std::vector<std::int32_t> children(std::int32_t pid) {
    std::vector<std::int32_t> found;
    bool isListed = true;
    std::string content;
    const bool exists = forEachNumber(fmt::format("/proc/{}/task", pid), [&](std::int32_t thread) {
        if (!readInto(fmt::format("/proc/{}/task/{}/children", pid, thread).c_str(), content)) {
            isListed = isListed && errno != ENOENT;
            return;
        }
        std::string_view rest = content;
        while (!rest.empty())
            if (const auto child = number<std::int32_t>(takeWord(rest)); child && *child > 0)
                found.push_back(*child);
    });
    if (exists && !isListed && ::access("/proc/thread-self/children", F_OK) != 0)
        return childrenByScan(pid);
    return found;
}

std::vector<std::int32_t> childrenByScan(std::int32_t pid) {
    std::vector<std::int32_t> found;
    forEachNumber("/proc", [&](std::int32_t candidate) {
        if (const auto parsed = status(candidate); parsed && parsed->parent == pid)
            found.push_back(candidate);
    });
    return found;
}

std::vector<std::int32_t> holders(std::span<const int> pipes) {
    std::vector<std::string> links;
    for (const int pipe : pipes) {
        struct stat info{};
        if (::fstat(pipe, &info) == 0)
            links.push_back(fmt::format("pipe:[{}]", info.st_ino));
    }
    std::vector<std::int32_t> found;
    forEachNumber("/proc", [&](std::int32_t candidate) {
        if (candidate == ::getpid())
            return;
        const std::string folder = fmt::format("/proc/{}/fd", candidate);
        bool holds = false;
        forEachNumber(folder, [&](std::int32_t descriptor) {
            std::array<char, 64> target;
            const ssize_t length =
                holds ? 0 : ::readlink(fmt::format("{}/{}", folder, descriptor).c_str(), target.data(), target.size());
            holds = holds ||
                    (length > 0 && std::ranges::find(links, std::string_view(target.data(), length)) != links.end());
        });
        if (holds)
            found.push_back(candidate);
    });
    return found;
}

bool runsSameProgram(std::int32_t pid) {
    struct stat ours{};
    struct stat theirs{};
    return ::stat("/proc/self/exe", &ours) == 0 && ::stat(fmt::format("/proc/{}/exe", pid).c_str(), &theirs) == 0 &&
           ours.st_dev == theirs.st_dev && ours.st_ino == theirs.st_ino;
}

} // namespace torvo::process_table
