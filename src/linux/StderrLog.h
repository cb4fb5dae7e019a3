#pragma once

#include "platform/SystemLog.h"

namespace torvo {

/// The system log of a program of the desktop session: its standard error, which the session keeps.
class StderrLog final : public SystemLog {
  public:
    /// Writes the line in one piece, so that lines of several threads and programs do not mix. Line breaks and other
    /// control characters in it become U+FFFD.
    void write(std::string_view line) override;
};

} // namespace torvo
