#include "linux/FrontApplication.h"

#include "linux/filemanager/FileManagerWindow.h"

#include <algorithm>
#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;

/// How long no window may be active before nobody works anywhere.
constexpr auto kChangingHands = 200ms;
/// The desktop of a window that is on every one (_NET_WM_DESKTOP).
constexpr std::uint32_t kEveryDesktop = 0xFFFFFFFF;

} // namespace

FrontApplication::FrontApplication(X11Connection& connection, Clock now)
    : m_connection(connection), m_now(std::move(now)) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
    connection.listen([this, alive = std::weak_ptr(m_observers)](const xcb_generic_event_t& event) {
        const auto observers = alive.lock();
        if (!observers || (event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
            return;
        const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        // While windows change hands there is none for a moment; the one that follows is told then.
        if (changed.atom == m_connection.hints()->_NET_ACTIVE_WINDOW && observe())
            observers->notify();
    });
}

std::optional<xcb_window_t> FrontApplication::observe() {
    const auto active = m_connection.activeWindow();
    if (active)
        m_noneSince.reset();
    else if (!m_noneSince)
        m_noneSince = m_now();
    if (active && active != m_panel)
        m_last = *active;
    return active;
}

std::optional<xcb_window_t> FrontApplication::window() {
    const auto active = observe();
    if (active && active != m_panel)
        return active;
    if (!active && m_now() - *m_noneSince >= kChangingHands)
        return std::nullopt;
    auto windows = m_connection.stackedWindows();
    std::erase(windows, m_panel);
    if (std::ranges::find(windows, m_last) != windows.end())
        return m_last;
    const auto top =
        std::find_if(windows.rbegin(), windows.rend(), [this](xcb_window_t window) { return isWorkedIn(window); });
    return top == windows.rend() ? std::nullopt : std::optional(*top);
}

bool FrontApplication::isWorkedIn(xcb_window_t window) {
    auto* hints = m_connection.hints();
    const auto types = m_connection.atoms(window, hints->_NET_WM_WINDOW_TYPE);
    const bool isOrdinary =
        types.empty() || std::ranges::any_of(types, [&](xcb_atom_t type) {
            return type == hints->_NET_WM_WINDOW_TYPE_NORMAL || type == hints->_NET_WM_WINDOW_TYPE_DIALOG;
        });
    const auto states = m_connection.atoms(window, hints->_NET_WM_STATE);
    if (!isOrdinary || std::ranges::find(states, hints->_NET_WM_STATE_HIDDEN) != states.end())
        return false;
    std::uint32_t desktop = 0;
    std::uint32_t current = 0;
    const auto desktopCookie = xcb_ewmh_get_wm_desktop(hints, window);
    const auto currentCookie = xcb_ewmh_get_current_desktop(hints, m_connection.screenNumber());
    // What the window manager does not tell is no obstacle.
    const bool isPlaced = xcb_ewmh_get_wm_desktop_reply(hints, desktopCookie, &desktop, nullptr) != 0;
    const bool isKnown = xcb_ewmh_get_current_desktop_reply(hints, currentCookie, &current, nullptr) != 0;
    return !isPlaced || !isKnown || desktop == kEveryDesktop || desktop == current;
}

std::optional<xcb_window_t> FrontApplication::fileManagerWindow() {
    const auto windows = m_connection.stackedWindows();
    const auto found = std::ranges::find_if(windows.rbegin(), windows.rend(), [&](xcb_window_t window) {
        return isFileManager(m_connection.windowClass(window));
    });
    return found == windows.rend() ? std::nullopt : std::optional(*found);
}

} // namespace torvo
