#include "support/AtomicFile.h"

#include "support/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace torvo {

namespace {

/// Where the next content of the file is written. A fixed name: there is one writer, and a crash leaves
/// one such file at most.
std::string temporaryOf(const std::string& path) {
    return path + ".new";
}

int linkAndUnlink(const std::string& from, const std::string& to) {
    struct stat status{};
    if (::lstat(from.c_str(), &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) != 0)
        return errno;
    if (::unlink(from.c_str()) == 0)
        return 0;
    const int failure = errno;
    ::unlink(to.c_str());
    return failure;
}

} // namespace

std::string systemErrorText(int code) {
    return std::error_code(code, std::generic_category()).message();
}

int makeFolders(const FileURL& folder) {
    if (::mkdir(folder.path().c_str(), 0700) == 0 || errno == EEXIST)
        return 0;
    if (errno != ENOENT || folder.path() == "/")
        return errno;
    if (const int error = makeFolders(folder.deletingLastPathComponent()))
        return error;
    return ::mkdir(folder.path().c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

int readAll(int descriptor, std::string& bytes, std::size_t limit) {
    std::array<char, 65536> buffer{};
    while (bytes.size() <= limit) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : 0;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return 0;
}

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return errno;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return 0;
}

int renameWithoutReplacing(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    return errno == EINVAL ? linkAndUnlink(from, to) : errno;
}

int prepareReplacement(const std::string& path, std::string_view bytes) {
    const std::string temporary = temporaryOf(path);
    ::unlink(temporary.c_str());
    const Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return errno;
    int error = writeAll(file.get(), bytes);
    if (error == 0 && (::fchmod(file.get(), 0600) != 0 || ::fsync(file.get()) != 0))
        error = errno;
    if (error != 0)
        ::unlink(temporary.c_str());
    return error;
}

int commitReplacement(const std::string& path) {
    if (::rename(temporaryOf(path).c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporaryOf(path).c_str());
        return error;
    }
    const Descriptor folder(
        ::open(FileURL(path).deletingLastPathComponent().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; the file itself is safe already.
    if (folder.isOpen())
        ::fsync(folder.get());
    return 0;
}

} // namespace torvo
