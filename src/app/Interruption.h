#pragma once

#include <stop_token>
#include <thread>

namespace torvo {

/// Turns the signals that end a program in a terminal (SIGINT, SIGTERM, SIGHUP) into a stop request while it lives, so
/// that work can end its children and clean up. To be made before other threads start: they inherit the blocked
/// signals.
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
    std::jthread m_thread;
};

} // namespace torvo
