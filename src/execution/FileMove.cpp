#include "execution/FileMove.h"

#include "support/AtomicFile.h"
#include "support/Descriptor.h"
#include "support/Text.h"
#include "support/UUID.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

namespace torvo {

namespace {

namespace fs = std::filesystem;

std::string failureLine(const FileURL& item, int error) {
    return fmt::format("“{}” could not be moved: {}", printableLine(item.lastPathComponent()), systemErrorText(error));
}

int renameWithoutReplacing(const std::string& from, const std::string& to) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
}

/// Renames on file systems that do not know RENAME_NOREPLACE: a second name, which must be free, then the first goes.
int linkAndUnlink(const std::string& from, const std::string& to) {
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) != 0)
        return errno;
    return ::unlink(from.c_str()) == 0 ? 0 : errno;
}

int syncToDisk(const std::string& path) {
    const Descriptor item(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return !item.isOpen() || ::fsync(item.get()) != 0 ? errno : 0;
}

/// Gives a copy the permissions and the times of its original, owner and group as far as the user may.
int copyAttributes(const struct stat& original, const std::string& copy) {
    (void)::lchown(copy.c_str(), original.st_uid, original.st_gid);
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

int copyItem(const std::string& from, const std::string& to);

int copyChildren(const std::string& from, const fs::path& to) {
    std::error_code error;
    for (fs::directory_iterator entry(from, error), end; !error && entry != end; entry.increment(error)) {
        const auto copy = to / entry->path().filename();
        if (const int failure = copyItem(entry->path().native(), copy.native()))
            return failure;
    }
    return error.value();
}

/// Copies a file, a link or a folder with all that is in it, and waits until it is on the disk.
int copyItem(const std::string& from, const std::string& to) {
    struct stat original{};
    if (::lstat(from.c_str(), &original) != 0)
        return errno;
    std::error_code error;
    if (S_ISLNK(original.st_mode)) {
        fs::copy_symlink(from, to, error);
        return error ? error.value() : copyAttributes(original, to);
    }
    if (S_ISDIR(original.st_mode)) {
        if (::mkdir(to.c_str(), 0700) != 0)
            return errno;
        if (const int failure = copyChildren(from, to))
            return failure;
    } else if (S_ISREG(original.st_mode)) {
        if (const int failure = copyContent(from, to))
            return failure;
    } else {
        return EINVAL;
    }
    if (const int failure = copyAttributes(original, to))
        return failure;
    return syncToDisk(to);
}

int moveWithoutReplacing(const std::string& from, const std::string& to) {
    const int failure = renameWithoutReplacing(from, to);
    return failure == EINVAL ? linkAndUnlink(from, to) : failure;
}

std::string hiddenNameBeside(const FileURL& item) {
    return item.deletingLastPathComponent().appendingPath(".torvo-" + UUID::random().text()).path();
}

/// Copies under a hidden name first and sets the original aside, so that each name holds the whole item or nothing.
int moveAcrossFileSystems(const FileURL& from, const FileURL& to) {
    const auto copy = hiddenNameBeside(to);
    const auto aside = hiddenNameBeside(from);
    std::error_code ignored;
    int failure = copyItem(from.path(), copy);
    if (failure == 0)
        failure = moveWithoutReplacing(from.path(), aside);
    if (failure == 0) {
        failure = moveWithoutReplacing(copy, to.path());
        if (failure != 0)
            (void)moveWithoutReplacing(aside, from.path());
    }
    if (failure != 0) {
        fs::remove_all(copy, ignored);
        return failure;
    }
    (void)syncToDisk(to.deletingLastPathComponent().path());
    fs::remove_all(aside, ignored);
    return 0;
}

} // namespace

std::expected<void, std::string> moveFile(const FileURL& from, const FileURL& to) {
    int failure = moveWithoutReplacing(from.path(), to.path());
    if (failure == EXDEV)
        failure = to.isOccupied() ? EEXIST : moveAcrossFileSystems(from, to);
    if (failure != 0)
        return std::unexpected(failureLine(from, failure));
    return {};
}

} // namespace torvo
