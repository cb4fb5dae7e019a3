#pragma once

#include <chrono>
#include <expected>
#include <string>
#include <utility>

namespace torvo {

/// An exclusive advisory lock (flock(2)) on a file of its own, held until the end of its life. It excludes other
/// processes and other holders in this process alike, and the kernel drops it when its process dies.
class FileLock {
  public:
    /// Waits for the lock on `path`, which is made when it does not exist. Fails when it cannot be made, or when
    /// somebody keeps the lock for longer than `patience`; the error is the reason, without an end mark.
    [[nodiscard]] static std::expected<FileLock, std::string> take(const std::string& path,
                                                                   std::chrono::milliseconds patience);

    ~FileLock();
    FileLock(FileLock&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileLock& operator=(FileLock&&) = delete;

  private:
    explicit FileLock(int descriptor) : m_descriptor(descriptor) {}

    int m_descriptor;
};

} // namespace torvo
