#include "linux/filemanager/FileManagers.h"

#include "linux/FrontApplication.h"
#include "linux/X11Frames.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ranges>

namespace torvo {

namespace {

using std::chrono::steady_clock;

/// How long a program may take to show that it answers at all, to tell something, and to select: Thunar needs seconds
/// to show a large folder in another view.
constexpr auto kAnswerTime = std::chrono::milliseconds(300);
constexpr auto kWorkTime = std::chrono::seconds(2);
constexpr auto kSelectTime = std::chrono::seconds(5);
/// How long one that did not answer is waited for from then on, until it does.
constexpr auto kGlance = std::chrono::milliseconds(80);

/// An ordinary window, which may have no type at all (Extended Window Manager Hints, _NET_WM_WINDOW_TYPE: the first one
/// that is known counts).
bool isOrdinary(X11Connection& display, xcb_window_t window) {
    const auto types = display.atoms(window, display.hints()->_NET_WM_WINDOW_TYPE);
    return types.empty() || types.front() == display.hints()->_NET_WM_WINDOW_TYPE_NORMAL;
}

bool isHidden(X11Connection& display, xcb_window_t window) {
    const auto states = display.atoms(window, display.hints()->_NET_WM_STATE);
    return std::ranges::find(states, display.hints()->_NET_WM_STATE_HIDDEN) != states.end();
}

} // namespace

X11Connection* FileManagers::display() {
    if (m_display != nullptr && xcb_connection_has_error(m_display->get()) != 0)
        m_display.reset();
    if (m_display == nullptr)
        m_display = X11Connection::create();
    return m_display.get();
}

DBusConnection* FileManagers::session() {
    if (m_session != nullptr && g_dbus_connection_is_closed(m_session->get()) != FALSE)
        m_session.reset();
    if (m_session == nullptr)
        m_session = DBusConnection::session().value_or(nullptr);
    return m_session.get();
}

AccessibilityBus* FileManagers::accessibility(Deadline deadline) {
    if (m_accessibility != nullptr && m_accessibility->isClosed()) {
        m_windows.clear();
        m_accessibility.reset();
    }
    if (m_accessibility == nullptr && session() != nullptr) {
        m_windows.clear();
        m_accessibility = AccessibilityBus::connect(*m_session, deadline).value_or(nullptr);
    }
    return m_accessibility.get();
}

/// The ordinary windows of file managers that are on the screen, the topmost first.
std::vector<xcb_window_t> FileManagers::windows() {
    auto* screen = display();
    if (screen == nullptr)
        return {};
    std::vector<xcb_window_t> result;
    for (const auto window : screen->stackedWindows() | std::views::reverse)
        if (isFileManager(screen->windowClass(window)) && isOrdinary(*screen, window) && !isHidden(*screen, window))
            result.push_back(window);
    return result;
}

std::optional<xcb_window_t> FileManagers::topmost() {
    const auto all = windows();
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::vector<std::int32_t> FileManagers::processes() {
    const std::lock_guard guard(m_lock);
    std::vector<std::int32_t> result;
    for (const auto window : windows())
        if (const auto pid = m_display->pid(window); pid && std::ranges::find(result, *pid) == result.end())
            result.push_back(*pid);
    return result;
}

std::optional<xcb_window_t> FileManagers::frontWindow(std::int32_t pid) {
    const std::lock_guard guard(m_lock);
    for (const auto window : windows())
        if (m_display->pid(window) == pid)
            return window;
    return std::nullopt;
}

std::optional<Rect> FileManagers::frame(xcb_window_t window) {
    const std::lock_guard guard(m_lock);
    auto* screen = display();
    return screen == nullptr ? std::nullopt : windowFrame(*screen, window);
}

std::optional<AccessibleObject> FileManagers::frameObject(xcb_window_t window, const AccessibleObject& application,
                                                          Deadline deadline) {
    const AccessibleReader reader(*m_accessibility, deadline);
    auto frames = reader.children(application);
    if (frames.size() <= 1)
        return frames.empty() ? std::nullopt : std::optional(frames.front());
    // Windows are told apart by their titles, and those of one title by their places.
    auto title = m_display->textProperty(window, "_NET_WM_NAME");
    const auto names = reader.names(frames);
    std::vector<AccessibleObject> sameTitle;
    for (std::size_t i = 0; i < frames.size(); ++i)
        if (names[i] == title || (!names[i].empty() && title.starts_with(names[i])))
            sameTitle.push_back(frames[i]);
    if (sameTitle.size() == 1)
        return sameTitle.front();
    const auto place = windowFrameOnDesktop(*m_display, window);
    std::optional<AccessibleObject> nearest;
    double least = 0;
    for (const auto& candidate : sameTitle.empty() ? frames : sameTitle) {
        const auto extents = reader.extents(candidate);
        if (!extents || !place)
            continue;
        const double distance = std::abs(extents->x - place->x) + std::abs(extents->y - place->y) +
                                std::abs(extents->width - place->width) + std::abs(extents->height - place->height);
        if (!nearest || distance < least) {
            nearest = candidate;
            least = distance;
        }
    }
    return nearest;
}

FileManagerWindow* FileManagers::adapter(xcb_window_t window) {
    auto* screen = display();
    const auto pid = screen == nullptr ? std::nullopt : screen->pid(window);
    if (!pid)
        return nullptr;
    const bool wasSilent = m_silent.contains(*pid);
    const auto deadline = steady_clock::now() + (wasSilent ? kGlance : kAnswerTime);
    auto* bus = accessibility(deadline);
    if (bus == nullptr)
        return nullptr;
    const auto application = bus->application(*pid, deadline);
    if (!application) {
        // What is known of a window that only hangs is still right when it goes on.
        if (steady_clock::now() >= deadline)
            m_silent.insert(*pid);
        else
            m_windows.erase(window);
        return nullptr;
    }
    m_silent.erase(*pid);
    if (const auto known = m_windows.find(window); known != m_windows.end() && known->second.pid == *pid)
        return known->second.adapter.get();
    const auto object = frameObject(window, *application, steady_clock::now() + kAnswerTime);
    if (!object)
        return nullptr;
    // Those of windows that are gone go with the first new one.
    const auto open = screen->stackedWindows();
    std::erase_if(m_windows, [&](const auto& each) { return std::ranges::find(open, each.first) == open.end(); });
    auto made = fileManagerWindow(screen->windowClass(window), {*m_session, *bus, m_clipboard, *pid, window, *object});
    return (m_windows[window] = {std::move(made), *pid}).adapter.get();
}

std::optional<std::string> FileManagers::folder(xcb_window_t window) {
    const std::lock_guard guard(m_lock);
    auto* each = adapter(window);
    return each == nullptr ? std::nullopt : each->folder(steady_clock::now() + kWorkTime);
}

std::optional<std::string> FileManagers::frontFolder() {
    std::optional<xcb_window_t> window;
    {
        const std::lock_guard guard(m_lock);
        window = topmost();
    }
    return window ? folder(*window) : std::nullopt;
}

std::vector<std::string> FileManagers::selection() {
    const std::lock_guard guard(m_lock);
    const auto window = topmost();
    auto* each = window ? adapter(*window) : nullptr;
    return each == nullptr ? std::vector<std::string>() : each->selection(steady_clock::now() + kWorkTime);
}

void FileManagers::select(const std::vector<std::string>& items) {
    const std::lock_guard guard(m_lock);
    const auto window = topmost();
    if (auto* each = window ? adapter(*window) : nullptr)
        each->select(items, steady_clock::now() + kSelectTime);
}

bool FileManagers::isAccessible() {
    const std::lock_guard guard(m_lock);
    return session() != nullptr && AccessibilityBus::isEnabled(*m_session, steady_clock::now() + kAnswerTime);
}

void FileManagers::makeAccessible() {
    const std::lock_guard guard(m_lock);
    const auto deadline = steady_clock::now() + kWorkTime;
    if (session() == nullptr)
        return;
    AccessibilityBus::enable(*m_session, deadline);
    // Asking for any program starts the registry, without which those built with Qt 5 do not register.
    if (auto* bus = accessibility(deadline))
        (void)bus->application(0, deadline);
}

} // namespace torvo
