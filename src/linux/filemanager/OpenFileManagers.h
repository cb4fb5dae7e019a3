#pragma once

#include "linux/X11Connection.h"
#include "support/Geometry.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace torvo {

/// The windows of file managers on the screen, as the X server tells, which answers whatever those programs do.
/// Connects by itself, and again when the server was lost; without one there are no windows. For one thread at a time.
///
/// The front window is the one that has the keyboard. While a window of this process has it, it is the one that had it
/// before; and if that is no window of a file manager, the topmost one that is.
class OpenFileManagers {
  public:
    /// Tells the window that was active before this process's own; called on any thread.
    using LastActive = std::function<xcb_window_t()>;
    explicit OpenFileManagers(LastActive lastActive = {}) : m_lastActive(std::move(lastActive)) {}

    /// Null without an X server.
    [[nodiscard]] X11Connection* display();

    /// The ordinary windows on the current desktop that are not minimised: the front window, then the others, the
    /// topmost first.
    [[nodiscard]] std::vector<xcb_window_t> windows();
    [[nodiscard]] std::optional<xcb_window_t> front();
    /// The first of a process.
    [[nodiscard]] std::optional<xcb_window_t> frontOf(std::int32_t pid);
    /// The processes with such a window, that of the front window first.
    [[nodiscard]] std::vector<std::int32_t> processes();
    /// A window's frame, decoration included, from the top left of the primary monitor.
    [[nodiscard]] std::optional<Rect> frame(xcb_window_t window);

  private:
    struct Window {
        xcb_window_t id = XCB_WINDOW_NONE;
        std::optional<std::int32_t> pid;
    };
    /// See `windows`; two trips to the server, however many there are.
    [[nodiscard]] std::vector<Window> shown();

    LastActive m_lastActive;
    std::unique_ptr<X11Connection> m_display;
};

} // namespace torvo
