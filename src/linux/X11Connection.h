#pragma once

#include <xcb/xcb_ewmh.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// Releases what xcb allocated.
struct XcbFree {
    void operator()(void* memory) const;
};
template <typename Reply>
using XcbReply = std::unique_ptr<Reply, XcbFree>;

/// A connection to the X server, with what the window manager says about windows (Extended Window Manager Hints). For
/// one thread: another one that waited for a reply would take events from the first, which sleeps on.
class X11Connection {
  public:
    /// Connects to $DISPLAY; absent when there is no server. Without a window manager that speaks the hints, no window
    /// is active and none is managed.
    [[nodiscard]] static std::unique_ptr<X11Connection> create();
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    [[nodiscard]] xcb_connection_t* get() const { return m_connection; }
    [[nodiscard]] xcb_ewmh_connection_t* hints() { return &m_hints; }
    [[nodiscard]] xcb_window_t root() const { return m_screen->root; }
    [[nodiscard]] const xcb_screen_t& screen() const { return *m_screen; }
    /// The property in which GTK tells how far a window's shadow reaches; the hints' library does not know it.
    [[nodiscard]] xcb_atom_t gtkFrameExtents() const { return m_gtkFrameExtents; }
    /// Which of the server's screens this is.
    [[nodiscard]] int screenNumber() const { return m_screenNumber; }

    /// The window that has the keyboard, as the window manager says.
    [[nodiscard]] std::optional<xcb_window_t> activeWindow();
    /// The windows that the window manager manages, the topmost last.
    [[nodiscard]] std::vector<xcb_window_t> stackedWindows();
    /// The process that owns a window.
    [[nodiscard]] std::optional<std::int32_t> pid(xcb_window_t window);
    /// The name of the window's application (the second text of WM_CLASS, ICCCM 4.1.2.5); empty when it has none.
    [[nodiscard]] std::string windowClass(xcb_window_t window);
    /// What a text property of a window holds; empty when it has none of that name.
    [[nodiscard]] std::string textProperty(xcb_window_t window, const std::string& name);
    /// The atoms that a window has in a property; empty when it lacks it.
    [[nodiscard]] std::vector<xcb_atom_t> atoms(xcb_window_t window, xcb_atom_t property);
    /// Whether the user may see a window: it is neither minimised nor on another virtual desktop than the current one.
    [[nodiscard]] bool isOnScreen(xcb_window_t window);
    /// Some of these in two steps, between which other things can be asked: what belongs together is one trip to the
    /// server and back. Each question is to be answered once.
    [[nodiscard]] xcb_get_property_cookie_t askActiveWindow();
    [[nodiscard]] std::optional<xcb_window_t> answeredActiveWindow(xcb_get_property_cookie_t asked);
    [[nodiscard]] xcb_get_property_cookie_t askStackedWindows();
    [[nodiscard]] std::vector<xcb_window_t> answeredStackedWindows(xcb_get_property_cookie_t asked);
    [[nodiscard]] xcb_get_property_cookie_t askAtoms(xcb_window_t window, xcb_atom_t property);
    [[nodiscard]] std::vector<xcb_atom_t> answeredAtoms(xcb_get_property_cookie_t asked);

    /// What can be told of a window in one such trip.
    struct WindowFacts {
        std::string windowClass;
        std::vector<xcb_atom_t> types;
        bool isOnScreen = false;
        std::optional<std::int32_t> pid;
    };
    /// Of each of the windows.
    [[nodiscard]] std::vector<WindowFacts> facts(const std::vector<xcb_window_t>& windows);
    /// Whether a compositor blends windows that are not opaque (Extended Window Manager Hints, _NET_WM_CM_Sn).
    [[nodiscard]] bool hasCompositor();
    /// Asks the window manager to give a window the keyboard, the way a pager does.
    void activate(xcb_window_t window);

    /// What polls readable when events come in. A call that waits for its reply takes in the events that come before
    /// it, so that the descriptor tells nothing of them: whoever waits on it asks `hasQueuedEvents` first.
    [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(m_connection); }
    /// Whether events were taken in that nobody was told of yet. Reads nothing from the server.
    [[nodiscard]] bool hasQueuedEvents();
    /// Hands every event that has arrived to those who listen; to be called when the descriptor is readable, and when
    /// there are queued events.
    void dispatch();
    /// How often that was done. What was asked since the last time is as good as asked now.
    [[nodiscard]] std::uint64_t turn() const { return m_turn; }
    /// Calls `listener` with every event from now on, as long as the connection lives.
    void listen(std::function<void(const xcb_generic_event_t&)> listener) {
        m_listeners.push_back(std::move(listener));
    }

  private:
    X11Connection() = default;
    [[nodiscard]] XcbReply<xcb_generic_event_t> nextEvent();
    [[nodiscard]] xcb_get_property_cookie_t askClass(xcb_window_t window);
    [[nodiscard]] std::string answeredClass(xcb_get_property_cookie_t asked);
    [[nodiscard]] std::optional<std::int32_t> answeredPid(xcb_get_property_cookie_t asked);

    xcb_connection_t* m_connection = nullptr;
    xcb_ewmh_connection_t m_hints{};
    xcb_screen_t* m_screen = nullptr;
    int m_screenNumber = 0;
    std::uint64_t m_turn = 0;
    xcb_atom_t m_gtkFrameExtents = XCB_ATOM_NONE;
    std::vector<std::function<void(const xcb_generic_event_t&)>> m_listeners;
    /// Taken from xcb's own queue, which cannot be looked into otherwise.
    std::deque<XcbReply<xcb_generic_event_t>> m_queue;
};

} // namespace torvo
