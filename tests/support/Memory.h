#pragma once

#include <sys/resource.h>

#include <cstddef>
#include <cstdint>

namespace torvo::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
/// A sanitizer keeps notes on every byte, and dies when there is no memory for them.
constexpr bool kMemoryIsOurOwn = false;
#else
constexpr bool kMemoryIsOurOwn = true;
#endif

/// What a process holds on to.
struct Footprint {
    /// Memory that is its own, in bytes.
    std::size_t memory = 0;
    std::size_t descriptors = 0;
    std::size_t threads = 0;
};
/// Of a running process of this user.
[[nodiscard]] Footprint footprint(std::int32_t pid);

/// The bytes of memory that this process occupies now.
[[nodiscard]] std::size_t residentBytes();

/// Lets this process take only so many more bytes of data memory while it lives (setrlimit(2), RLIMIT_DATA).
class MemoryLimit {
  public:
    explicit MemoryLimit(std::size_t more);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

  private:
    rlimit m_before{};
};

} // namespace torvo::testing
