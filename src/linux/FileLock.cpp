#include "linux/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace torvo {

namespace {

std::unexpected<std::string> systemError(int code) {
    return std::unexpected(std::error_code(code, std::generic_category()).message());
}

/// Whether the descriptor is still the file of that name: somebody may have deleted it and made another.
bool isStillNamed(int descriptor, const std::string& path) {
    struct stat held{};
    struct stat named{};
    return ::fstat(descriptor, &held) == 0 && ::stat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
           held.st_ino == named.st_ino;
}

} // namespace

std::expected<FileLock, std::string> FileLock::take(const std::string& path, std::chrono::milliseconds patience) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    // flock knows no time-out, so the lock is tried again and again. Its holders keep it for milliseconds.
    for (auto pause = 500us;; pause = std::min(pause * 2, std::chrono::microseconds(20ms))) {
        const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (descriptor < 0)
            return systemError(errno);
        FileLock lock(descriptor);
        const bool isLocked = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        if (!isLocked && errno != EWOULDBLOCK && errno != EINTR)
            return systemError(errno);
        if (isLocked && isStillNamed(descriptor, path))
            return lock;
        if (std::chrono::steady_clock::now() >= deadline)
            return std::unexpected("another program keeps them locked");
        std::this_thread::sleep_for(pause);
    }
}

FileLock::~FileLock() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

} // namespace torvo
