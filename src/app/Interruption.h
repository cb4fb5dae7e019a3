#pragma once

#include "support/Descriptor.h"

#include <stop_token>
#include <thread>

namespace torvo {

/// Turns the signals that end a program in a terminal (SIGINT, SIGTERM, SIGHUP, SIGQUIT) into a stop request while it
/// lives, so that work can end its children and clean up. To be made before other threads start: they inherit the
/// blocked signals. The signals stay blocked afterwards, so that one that comes late does not cut off the results.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    [[nodiscard]] std::stop_token token() const { return m_source.get_token(); }
    [[nodiscard]] bool isRequested() const { return m_source.stop_requested(); }

  private:
    std::stop_source m_source;
    Descriptor m_signals;
    Descriptor m_end;
    std::jthread m_thread;
};

} // namespace torvo
