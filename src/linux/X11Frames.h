#pragma once

#include "linux/DesktopPoints.h"
#include "linux/X11Connection.h"
#include "platform/Screens.h"
#include "support/Geometry.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace torvo {

/// Rectangles whose `x` and `y` are their top-left corner, `y` counted downwards. Those of the whole desktop, as the X
/// server and toolkits count, begin at its top-left corner.

/// The primary monitor on the whole desktop; where none is the primary one, the first.
[[nodiscard]] Rect primaryMonitor(X11Connection& connection);

/// The same for the connection that the main loop dispatches: asked once in each turn of the loop, in which it is
/// wanted a dozen times. Where nobody dispatches it is asked each time.
class PrimaryMonitor {
  public:
    /// `connection` must outlive the object.
    explicit PrimaryMonitor(X11Connection& connection) : m_connection(connection) {}

    [[nodiscard]] Rect now();

  private:
    X11Connection& m_connection;
    Rect m_frame;
    std::uint64_t m_turn = 0;
};

/// Where a window is on the whole desktop, the window manager's decoration included and shadows that the window draws
/// around itself left out.
[[nodiscard]] std::optional<Rect> windowFrameOnDesktop(X11Connection& connection, xcb_window_t window);

/// The same, counted from the top-left corner of the primary monitor.
[[nodiscard]] std::optional<Rect> windowFrame(X11Connection& connection, xcb_window_t window);

/// The monitors of the X server, without what panels and docks take from them.
class X11Screens final : public Screens {
  public:
    /// `connection` must outlive the object, which is for the connection's thread. `points`: what the points are at the
    /// moment; null where each pixel is one.
    explicit X11Screens(X11Connection& connection, std::function<DesktopPoints()> points = {})
        : m_connection(connection), m_points(std::move(points)) {}

    ScreenLayout layout() override;

  private:
    X11Connection& m_connection;
    std::function<DesktopPoints()> m_points;
};

} // namespace torvo
