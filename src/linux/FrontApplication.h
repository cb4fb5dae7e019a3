#pragma once

#include "linux/X11Connection.h"
#include "support/Observable.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Whether a window class is that of a file manager which Torvo can drive.
[[nodiscard]] bool isFileManager(std::string_view windowClass);

/// Which application the user works in, as the X server's window manager tells. For the connection's thread.
class FrontApplication {
  public:
    /// `connection` must outlive the object.
    explicit FrontApplication(X11Connection& connection);

    /// The window that the user works in; the panel of this process is looked through to what is below it. Ordinary
    /// windows of this process count.
    [[nodiscard]] std::optional<xcb_window_t> window();
    /// The panel's own window, to be looked through.
    void setPanel(xcb_window_t panel) { m_panel = panel; }
    /// The topmost window of a file manager.
    [[nodiscard]] std::optional<xcb_window_t> fileManagerWindow();
    /// Calls `activated` whenever another window has become the active one.
    [[nodiscard]] Subscription onActivation(std::function<void()> activated) {
        return m_observers->add(std::move(activated));
    }

  private:
    X11Connection& m_connection;
    xcb_window_t m_panel = XCB_WINDOW_NONE;
    /// Shared with the connection's listener, which may live longer.
    std::shared_ptr<Observers> m_observers = std::make_shared<Observers>();
};

} // namespace torvo
