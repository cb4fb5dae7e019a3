#pragma once

#include "linux/X11Connection.h"
#include "support/Geometry.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace torvo {

/// The windows of file managers on the screen, as the X server tells, which answers whatever those programs do.
/// Connects by itself, and again when the server was lost; without one there are no windows. For one thread at a time.
class OpenFileManagers {
  public:
    /// Null without an X server.
    [[nodiscard]] X11Connection* display();

    /// The ordinary windows that are on the screen, the topmost first.
    [[nodiscard]] std::vector<xcb_window_t> windows();
    [[nodiscard]] std::optional<xcb_window_t> topmost();
    [[nodiscard]] std::optional<xcb_window_t> topmostOf(std::int32_t pid);
    /// The processes with such a window, the one with the topmost window first.
    [[nodiscard]] std::vector<std::int32_t> processes();
    /// A window's frame, decoration included, from the top left of the primary monitor.
    [[nodiscard]] std::optional<Rect> frame(xcb_window_t window);

  private:
    std::unique_ptr<X11Connection> m_display;
};

} // namespace torvo
