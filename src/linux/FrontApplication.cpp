#include "linux/FrontApplication.h"

#include <algorithm>
#include <array>
#include <ranges>

namespace torvo {

namespace {

using namespace std::string_view_literals;

/// The second text of WM_CLASS.
constexpr std::array kFileManagers{"Thunar"sv, "pcmanfm-qt"sv, "dolphin"sv, "org.gnome.Nautilus"sv, "Nemo"sv};

} // namespace

bool isFileManager(std::string_view windowClass) {
    return std::ranges::find(kFileManagers, windowClass) != kFileManagers.end();
}

FrontApplication::FrontApplication(X11Connection& connection) : m_connection(connection) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
    connection.listen([observers = m_observers, &connection](const xcb_generic_event_t& event) {
        if ((event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY)
            return;
        const auto& changed = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        // While windows change hands there is none for a moment; the one that follows is told then.
        if (changed.atom == connection.hints()->_NET_ACTIVE_WINDOW && connection.activeWindow())
            observers->notify();
    });
}

std::optional<xcb_window_t> FrontApplication::window() {
    const auto active = m_connection.activeWindow();
    if (active != m_panel || m_panel == XCB_WINDOW_NONE)
        return active;
    for (const auto window : m_connection.stackedWindows() | std::views::reverse) {
        if (window != m_panel)
            return window;
    }
    return std::nullopt;
}

std::optional<xcb_window_t> FrontApplication::fileManagerWindow() {
    const auto windows = m_connection.stackedWindows();
    const auto found = std::ranges::find_if(windows.rbegin(), windows.rend(), [&](xcb_window_t window) {
        return isFileManager(m_connection.windowClass(window));
    });
    return found == windows.rend() ? std::nullopt : std::optional(*found);
}

} // namespace torvo
