#include "linux/FrontApplication.h"

#include <algorithm>
#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;

/// How long no window may be active before nobody works anywhere.
constexpr auto kChangingHands = 200ms;

} // namespace

FrontApplication::FrontApplication(X11Connection& connection, Clock now)
    : m_connection(connection), m_now(std::move(now)) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
    m_heardOf = observe().value_or(XCB_WINDOW_NONE);
    connection.listen([this, alive = std::weak_ptr(m_observers)](const xcb_generic_event_t& event) {
        const auto observers = alive.lock();
        if (!observers || (event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
            return;
        const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (changed.atom != m_connection.hints()->_NET_ACTIVE_WINDOW)
            return;
        // While windows change hands there is none for a moment; the one that follows is told then.
        const auto active = observe();
        if (active && std::exchange(m_heardOf, *active) != *active && *active != m_panel)
            observers->notify();
    });
}

std::optional<xcb_window_t> FrontApplication::observe() {
    const auto active = m_connection.activeWindow();
    if (active) {
        if (m_noneSince && m_now() - *m_noneSince >= kChangingHands)
            m_heardOf = XCB_WINDOW_NONE;
        m_noneSince.reset();
    } else if (!m_noneSince) {
        m_noneSince = m_now();
    }
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
    const xcb_window_t last = m_last;
    if (std::ranges::find(windows, last) != windows.end() && m_connection.isOnScreen(last))
        return last;
    const auto top =
        std::find_if(windows.rbegin(), windows.rend(), [this](xcb_window_t window) { return isWorkedIn(window); });
    return top == windows.rend() ? std::nullopt : std::optional(*top);
}

bool FrontApplication::isWorkedIn(xcb_window_t window) {
    const auto* hints = m_connection.hints();
    const auto facts = m_connection.facts({window}).front();
    const auto& types = facts.types;
    const bool isOrdinary =
        types.empty() || std::ranges::any_of(types, [&](xcb_atom_t type) {
            return type == hints->_NET_WM_WINDOW_TYPE_NORMAL || type == hints->_NET_WM_WINDOW_TYPE_DIALOG;
        });
    return isOrdinary && facts.isOnScreen;
}

} // namespace torvo
