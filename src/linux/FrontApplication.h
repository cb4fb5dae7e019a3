#pragma once

#include "linux/X11Connection.h"
#include "support/Observable.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Which application the user works in, as the X server's window manager tells. For the connection's thread, unless a
/// call says otherwise.
class FrontApplication {
  public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// `connection` must outlive the object.
    explicit FrontApplication(X11Connection& connection, Clock now = std::chrono::steady_clock::now);

    /// The window that the user works in. While the panel of this process is active, that is the window it was
    /// summoned over; ordinary windows of this process count. While windows change hands there is none for a moment:
    /// the answer stays until that has lasted a while.
    [[nodiscard]] std::optional<xcb_window_t> window();
    /// The panel's own window, to be looked through.
    void setPanel(xcb_window_t panel) { m_panel = panel; }
    /// The last window that was active and not the panel: what the user sees the panel over. From any thread.
    [[nodiscard]] xcb_window_t lastActive() const { return m_last; }
    /// Takes note of a window that was just asked to come to the front: it is the one that the panel is seen over, even
    /// if the panel becomes the active one before its turn was noticed.
    void expect(xcb_window_t window) { m_last = window; }
    /// Calls `activated` whenever another window than the panel has become the active one, or the same one again after
    /// the panel or after nobody worked anywhere. While windows change hands none is, which counts as nothing.
    [[nodiscard]] Subscription onActivation(std::function<void()> activated) {
        return m_observers->add(std::move(activated));
    }

  private:
    /// The active window, after a note of what is needed once it is the panel or none.
    std::optional<xcb_window_t> observe();
    /// Whether the user can see the window, and it is one that people work in.
    [[nodiscard]] bool isWorkedIn(xcb_window_t window);

    X11Connection& m_connection;
    Clock m_now;
    xcb_window_t m_panel = XCB_WINDOW_NONE;
    std::atomic<xcb_window_t> m_last = XCB_WINDOW_NONE;
    /// The last active window that the listener heard of, the panel included; none once nobody worked anywhere.
    xcb_window_t m_heardOf = XCB_WINDOW_NONE;
    /// Since when no window is active.
    std::optional<std::chrono::steady_clock::time_point> m_noneSince;
    /// Shared with the connection's listener, which may live longer.
    std::shared_ptr<Observers> m_observers = std::make_shared<Observers>();
};

} // namespace torvo
