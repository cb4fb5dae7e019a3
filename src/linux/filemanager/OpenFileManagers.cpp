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
bool isOrdinary(X11Connection& display, const std::vector<xcb_atom_t>& types) {
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

std::vector<OpenFileManagers::Window> OpenFileManagers::shown() {
    auto* screen = display();
    if (screen == nullptr)
        return {};
    const auto activeQuestion = screen->askActiveWindow();
    auto stacked = screen->stackedWindows();
    auto workedIn = screen->answeredActiveWindow(activeQuestion);
    std::ranges::reverse(stacked);
    const auto facts = screen->facts(stacked);
    std::vector<Window> result;
    // One that is not listed yet is asked on its own.
    bool isOwn =
        workedIn && std::ranges::find(stacked, *workedIn) == stacked.end() && screen->pid(*workedIn) == ::getpid();
    for (std::size_t i = 0; i < stacked.size(); ++i) {
        const auto& each = facts[i];
        isOwn = isOwn || (stacked[i] == workedIn && each.pid == ::getpid());
        if (isFileManager(each.windowClass) && isOrdinary(*screen, each.types) && each.isOnScreen)
            result.push_back({stacked[i], each.pid});
    }
    // While windows change hands, none is active.
    if (m_lastActive && (!workedIn || isOwn))
        workedIn = m_lastActive();
    if (const auto first = std::ranges::find(result, workedIn.value_or(XCB_WINDOW_NONE), &Window::id);
        first != result.end())
        std::rotate(result.begin(), first, std::next(first));
    return result;
}

std::vector<xcb_window_t> OpenFileManagers::windows() {
    std::vector<xcb_window_t> result;
    std::ranges::transform(shown(), std::back_inserter(result), &Window::id);
    return result;
}

std::optional<xcb_window_t> OpenFileManagers::front() {
    const auto all = shown();
    return all.empty() ? std::nullopt : std::optional(all.front().id);
}

std::optional<xcb_window_t> OpenFileManagers::frontOf(std::int32_t pid) {
    const auto all = shown();
    const auto found = std::ranges::find(all, std::optional(pid), &Window::pid);
    return found == all.end() ? std::nullopt : std::optional(found->id);
}

std::vector<std::int32_t> OpenFileManagers::processes() {
    std::vector<std::int32_t> result;
    for (const auto& window : shown())
        if (window.pid && std::ranges::find(result, *window.pid) == result.end())
            result.push_back(*window.pid);
    return result;
}

std::optional<Rect> OpenFileManagers::frame(xcb_window_t window) {
    auto* screen = display();
    return screen == nullptr ? std::nullopt : windowFrame(*screen, window);
}

} // namespace torvo
