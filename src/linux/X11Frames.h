#pragma once

#include "linux/X11Connection.h"
#include "platform/Screens.h"
#include "support/Geometry.h"

#include <optional>

namespace torvo {

/// Where a window is, the window manager's decoration included and shadows that the window draws around itself left
/// out, as a rectangle whose `x` and `y` are its top-left corner, counted from that of the primary monitor, `y`
/// downwards.
[[nodiscard]] std::optional<Rect> windowFrame(X11Connection& connection, xcb_window_t window);

/// The monitors of the X server, without what panels and docks take from them.
class X11Screens final : public Screens {
  public:
    /// `connection` must outlive the object, which is for the connection's thread.
    explicit X11Screens(X11Connection& connection) : m_connection(connection) {}

    ScreenLayout layout() override;

  private:
    X11Connection& m_connection;
};

} // namespace torvo
