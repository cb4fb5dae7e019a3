#include "execution/FileMove.h"

#include "support/AtomicFile.h"
#include "support/Descriptor.h"
#include "support/Text.h"
#include "support/UUID.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <vector>

namespace torvo {

namespace {

namespace fs = std::filesystem;

std::string quoted(std::string_view name) {
    return fmt::format("“{}”", printableLine(name));
}

std::string failureLine(const FileURL& item, std::string_view reason) {
    return fmt::format("{} could not be moved: {}", quoted(item.lastPathComponent()), reason);
}

std::string reasonOf(int error) {
    // Nothing else here says so.
    if (error == EISDIR)
        return "its disk cannot rename a folder without the risk of replacing another item";
    return systemErrorText(error);
}

int syncToDisk(const std::string& path) {
    const Descriptor item(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return !item.isOpen() || ::fsync(item.get()) != 0 ? errno : 0;
}

/// An attribute that cannot be had is left out, as is one that the other file system does not keep or the user may not
/// set.
int copyExtendedAttribute(const std::string& from, const std::string& to, const std::string& name) {
    const auto size = ::lgetxattr(from.c_str(), name.c_str(), nullptr, 0);
    std::string value(static_cast<std::size_t>(std::max<ssize_t>(size, 0)), '\0');
    if (size < 0 || ::lgetxattr(from.c_str(), name.c_str(), value.data(), value.size()) != size)
        return 0;
    if (::lsetxattr(to.c_str(), name.c_str(), value.data(), value.size(), 0) == 0 || errno == ENOTSUP || errno == EPERM)
        return 0;
    return errno;
}

/// Access lists are among them (acl(5)).
int copyExtendedAttributes(const std::string& from, const std::string& to) {
    const auto size = ::llistxattr(from.c_str(), nullptr, 0);
    std::string names(static_cast<std::size_t>(std::max<ssize_t>(size, 0)), '\0');
    if (size <= 0 || ::llistxattr(from.c_str(), names.data(), names.size()) != size)
        return 0;
    names.pop_back();
    for (const auto name : split(names, '\0')) {
        if (const int failure = copyExtendedAttribute(from, to, std::string(name)))
            return failure;
    }
    return 0;
}

/// Gives a copy the attributes, the permissions and the times of its original, owner and group as far as the user may.
int copyAttributes(const std::string& from, const struct stat& original, const std::string& copy) {
    // First the owner: a new one takes attributes away. The permissions may forbid to set any.
    (void)::lchown(copy.c_str(), original.st_uid, original.st_gid);
    if (const int failure = copyExtendedAttributes(from, copy))
        return failure;
    if (!S_ISLNK(original.st_mode) && ::chmod(copy.c_str(), original.st_mode & 07777) != 0)
        return errno;
    const std::array times{original.st_atim, original.st_mtim};
    return ::utimensat(AT_FDCWD, copy.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/// The library's own copy reports a full disk as an input/output error.
int copyContent(const std::string& from, const std::string& to) {
    const Descriptor in(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    const Descriptor out(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!in.isOpen() || !out.isOpen())
        return errno;
    std::vector<char> buffer(1 << 20);
    while (true) {
        const auto count = ::read(in.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : 0;
        if (const int failure = writeAll(out.get(), {buffer.data(), static_cast<std::size_t>(count)}))
            return failure;
    }
}

/// An item as it was before it was copied.
struct Seen {
    std::string path;
    struct stat status{};
};

int copyItem(const std::string& from, const std::string& to, std::vector<Seen>& seen);

int copyChildren(const std::string& from, const fs::path& to, std::vector<Seen>& seen) {
    std::error_code error;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end; entry.increment(error)) {
        const auto copy = to / entry->path().filename();
        if (const int failure = copyItem(entry->path().native(), copy.native(), seen))
            return failure;
    }
    return error.value();
}

/// Copies a file, a link or a folder with all that is in it, and waits until it is on the disk.
int copyItem(const std::string& from, const std::string& to, std::vector<Seen>& seen) {
    struct stat original{};
    if (::lstat(from.c_str(), &original) != 0)
        return errno;
    seen.push_back({from, original});
    std::error_code error;
    if (S_ISLNK(original.st_mode)) {
        fs::copy_symlink(from, to, error);
        return error ? error.value() : copyAttributes(from, original, to);
    }
    if (S_ISDIR(original.st_mode)) {
        if (::mkdir(to.c_str(), 0700) != 0)
            return errno;
        if (const int failure = copyChildren(from, to, seen))
            return failure;
    } else if (S_ISREG(original.st_mode)) {
        if (const int failure = copyContent(from, to))
            return failure;
    } else {
        return EINVAL;
    }
    if (const int failure = copyAttributes(from, original, to))
        return failure;
    return syncToDisk(to);
}

/// Whether something in an item that was copied as `from` and is now `moved` was changed since.
bool hasChanged(const std::vector<Seen>& seen, const std::string& from, const std::string& moved) {
    return std::ranges::any_of(seen, [&](const Seen& item) {
        struct stat now{};
        return ::lstat((moved + item.path.substr(from.size())).c_str(), &now) != 0 ||
               now.st_size != item.status.st_size || now.st_mtim.tv_sec != item.status.st_mtim.tv_sec ||
               now.st_mtim.tv_nsec != item.status.st_mtim.tv_nsec;
    });
}

/// Removes an item of ours with all that is in it.
int removeWhole(const std::string& path) {
    std::error_code error;
    fs::remove_all(path, error);
    if (!error)
        return 0;
    // Nothing can be taken out of a folder that is not writable.
    ::chmod(path.c_str(), 0700);
    std::error_code unreadable;
    for (fs::recursive_directory_iterator entry(path, unreadable), end; !unreadable && entry != end;
         entry.increment(unreadable)) {
        if (std::error_code unknown; fs::is_directory(entry->symlink_status(unknown)))
            ::chmod(entry->path().c_str(), 0700);
    }
    fs::remove_all(path, error);
    return error.value();
}

FileURL hiddenNameBeside(const FileURL& item) {
    return item.deletingLastPathComponent().appendingPath(".torvo-" + UUID::random().text());
}

/// Copies under a hidden name first and sets the original aside, so that each name holds the whole item or nothing.
std::expected<void, std::string> moveAcrossFileSystems(const FileURL& from, const FileURL& to) {
    const auto copy = hiddenNameBeside(to);
    const auto aside = hiddenNameBeside(from);
    std::vector<Seen> seen;
    int failure = copyItem(from.path(), copy.path(), seen);
    if (failure == 0)
        failure = renameWithoutReplacing(from.path(), aside.path());
    if (failure != 0) {
        (void)removeWhole(copy.path());
        return std::unexpected(failureLine(from, reasonOf(failure)));
    }
    std::string reason;
    if (hasChanged(seen, from.path(), aside.path()))
        reason = "it was changed meanwhile";
    else if (const int taken = renameWithoutReplacing(copy.path(), to.path()))
        reason = reasonOf(taken);
    if (!reason.empty()) {
        (void)removeWhole(copy.path());
        if (renameWithoutReplacing(aside.path(), from.path()) != 0)
            reason += "; it is now " + quoted(aside.lastPathComponent());
        return std::unexpected(failureLine(from, reason));
    }
    (void)syncToDisk(to.deletingLastPathComponent().path());
    if (const int left = removeWhole(aside.path())) {
        return std::unexpected(fmt::format("{} was moved, but what is left of it in {} could not be removed: {}",
                                           quoted(from.lastPathComponent()), quoted(aside.lastPathComponent()),
                                           reasonOf(left)));
    }
    return {};
}

} // namespace

std::expected<void, std::string> moveFile(const FileURL& from, const FileURL& to) {
    if (to.path().starts_with(from.path() + "/"))
        return std::unexpected(failureLine(from, "a folder cannot be in itself"));
    int failure = renameWithoutReplacing(from.path(), to.path());
    if (failure == EXDEV && to.isOccupied())
        failure = EEXIST;
    if (failure == EXDEV)
        return moveAcrossFileSystems(from, to);
    if (failure != 0)
        return std::unexpected(failureLine(from, reasonOf(failure)));
    return {};
}

} // namespace torvo
