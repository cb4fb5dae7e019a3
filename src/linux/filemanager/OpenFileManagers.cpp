#include "linux/filemanager/OpenFileManagers.h"

#include "linux/X11Frames.h"
#include "linux/filemanager/FileManagerWindow.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace torvo {

namespace {

/// An ordinary window, which may have no type at all (Extended Window Manager Hints, _NET_WM_WINDOW_TYPE: the first one
/// that is known counts).
bool isOrdinary(X11Connection& display, xcb_window_t window) {
    const auto types = display.atoms(window, display.hints()->_NET_WM_WINDOW_TYPE);
    return types.empty() || types.front() == display.hints()->_NET_WM_WINDOW_TYPE_NORMAL;
}

} // namespace

X11Connection* OpenFileManagers::display() {
    if (m_display != nullptr && xcb_connection_has_error(m_display->get()) != 0)
        m_display.reset();
    if (m_display == nullptr)
        m_display = X11Connection::create();
    return m_display.get();
}

std::optional<xcb_window_t> OpenFileManagers::workedIn() {
    const auto active = m_display->activeWindow();
    // While windows change hands, none is active.
    if (m_lastActive && (!active || m_display->pid(*active) == ::getpid()))
        return m_lastActive();
    return active;
}

std::vector<xcb_window_t> OpenFileManagers::windows() {
    auto* screen = display();
    if (screen == nullptr)
        return {};
    std::vector<xcb_window_t> result;
    auto stacked = screen->stackedWindows();
    std::ranges::reverse(stacked);
    const auto classes = screen->windowClasses(stacked);
    for (std::size_t i = 0; i < stacked.size(); ++i)
        if (isFileManager(classes[i]) && isOrdinary(*screen, stacked[i]) && screen->isOnScreen(stacked[i]))
            result.push_back(stacked[i]);
    if (const auto first = std::ranges::find(result, workedIn().value_or(XCB_WINDOW_NONE)); first != result.end())
        std::rotate(result.begin(), first, std::next(first));
    return result;
}

std::optional<xcb_window_t> OpenFileManagers::front() {
    const auto all = windows();
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::optional<xcb_window_t> OpenFileManagers::frontOf(std::int32_t pid) {
    for (const auto window : windows())
        if (m_display->pid(window) == pid)
            return window;
    return std::nullopt;
}

std::vector<std::int32_t> OpenFileManagers::processes() {
    std::vector<std::int32_t> result;
    for (const auto window : windows())
        if (const auto pid = m_display->pid(window); pid && std::ranges::find(result, *pid) == result.end())
            result.push_back(*pid);
    return result;
}

std::optional<Rect> OpenFileManagers::frame(xcb_window_t window) {
    auto* screen = display();
    return screen == nullptr ? std::nullopt : windowFrame(*screen, window);
}

} // namespace torvo
