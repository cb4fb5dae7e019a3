#pragma once

#include <string_view>

namespace torvo {

/// Where a program tells the administrator what went wrong. Callable from any thread.
class SystemLog {
  public:
    virtual ~SystemLog() = default;

    /// Writes one line.
    virtual void write(std::string_view line) = 0;
};

} // namespace torvo
