#include "Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

namespace torvo::sips {
namespace {

/// More than any picture that can be opened takes.
constexpr std::int64_t kMostFileBytes = std::int64_t{4} << 30;

constexpr std::array kEndingSignals{SIGINT, SIGTERM, SIGHUP};

/// The file that the signal handler removes; an empty name while there is none. It is set before the file is made and
/// cleared after the file has its final name: removing a name that is not there does no harm.
std::array<char, PATH_MAX + 64> temporaryName{};

void removeAndEnd(int signal) {
    if (temporaryName[0] != '\0')
        ::unlink(temporaryName.data());
    // The handler was taken off when it was entered, so that this ends the program as the signal says.
    ::raise(signal);
}

std::string reason(int error) {
    return std::strerror(error);
}

std::unexpected<std::string> failure(int error) {
    return std::unexpected(reason(error));
}

class Descriptor {
  public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const { return m_number; }
    /// False, with errno set, when the file system reports a write that failed late.
    [[nodiscard]] bool close() { return ::close(std::exchange(m_number, -1)) == 0; }

  private:
    int m_number;
};

/// The one temporary file of this process, removed again unless it was moved to its final name.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& folder) : m_descriptor(make(folder + "/.sips-")) {}
    ~TemporaryFile() {
        if (temporaryName[0] != '\0')
            ::unlink(temporaryName.data());
        temporaryName[0] = '\0';
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] bool isOpen() const { return m_descriptor.number() >= 0; }
    [[nodiscard]] Descriptor& descriptor() { return m_descriptor; }

    [[nodiscard]] bool moveTo(const std::string& path) {
        if (::rename(temporaryName.data(), path.c_str()) != 0)
            return false;
        temporaryName[0] = '\0';
        return true;
    }

  private:
    static int make(const std::string& start) {
        // Numbers above the first are for names that another process left or uses.
        for (int attempt = 0; attempt < 100; ++attempt) {
            const std::string name = start + std::to_string(::getpid()) + "-" + std::to_string(attempt);
            if (name.size() >= temporaryName.size()) {
                errno = ENAMETOOLONG;
                return -1;
            }
            name.copy(temporaryName.data(), name.size());
            temporaryName[name.size()] = '\0';
            const int number = ::open(temporaryName.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
            if (number >= 0)
                return number;
            temporaryName[0] = '\0';
            if (errno != EEXIST)
                return -1;
        }
        return -1;
    }

    Descriptor m_descriptor;
};

bool writeAll(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(0, count)));
    }
    return true;
}

/// The permissions of a file that is to be replaced, else those of any new file.
mode_t permissionsFor(const struct stat* existing) {
    if (existing != nullptr)
        return existing->st_mode & 07777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

std::expected<FileBytes, std::string> readWhole(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.number() < 0)
        return failure(errno);
    struct stat status{};
    if (::fstat(file.number(), &status) != 0)
        return failure(errno);
    if (S_ISDIR(status.st_mode))
        return failure(EISDIR);
    if (!S_ISREG(status.st_mode))
        return std::unexpected("not an ordinary file");
    if (status.st_size > kMostFileBytes)
        return std::unexpected("the file is too large");

    FileBytes result;
    const auto size = static_cast<std::size_t>(status.st_size);
    result.bytes = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    while (result.size < size) {
        const ssize_t count = ::read(file.number(), result.bytes.get() + result.size, size - result.size);
        if (count < 0 && errno != EINTR)
            return failure(errno);
        if (count == 0)
            break;
        result.size += static_cast<std::size_t>(std::max<ssize_t>(0, count));
    }
    return result;
}

std::expected<void, std::string> replaceFile(const std::string& path, std::span<const std::uint8_t> bytes) {
    const std::string target = resolvedPath(path);
    struct stat existing{};
    const bool exists = ::stat(target.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode))
        return failure(EISDIR);
    if (exists && !S_ISREG(existing.st_mode))
        return std::unexpected("not an ordinary file");
    if (exists && ::access(target.c_str(), W_OK) != 0)
        return failure(errno);

    TemporaryFile temporary(target.substr(0, target.rfind('/')));
    if (!temporary.isOpen())
        return failure(errno);
    if (!writeAll(temporary.descriptor().number(), bytes) ||
        ::fchmod(temporary.descriptor().number(), permissionsFor(exists ? &existing : nullptr)) != 0 ||
        !temporary.descriptor().close() || !temporary.moveTo(target))
        return failure(errno);
    return {};
}

void removeTemporaryFileOnSignals() {
    // A limit on the size of files is then a failed write instead of the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action{};
    action.sa_handler = removeAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : kEndingSignals) {
        struct sigaction before{};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

bool isFolder(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string resolvedPath(const std::string& path) {
    std::error_code failed;
    const std::filesystem::path whole = std::filesystem::absolute(path, failed);
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(whole, failed);
    return failed ? whole.string() : resolved.string();
}

} // namespace torvo::sips
