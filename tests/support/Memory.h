#pragma once

#include <sys/resource.h>

#include <cstddef>

namespace torvo::testing {

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
