#include "linux/filemanager/FileManagers.h"

#include "linux/FileLock.h"
#include "linux/X11Frames.h"
#include "support/FileURL.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
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

/// A window shows one view at a time and the desktop has one clipboard: the programs of Torvo use them in turn. One
/// that keeps the others from it for too long is not waited for.
std::optional<FileLock> turnAmongPrograms() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || folder[0] != '/')
        return std::nullopt;
    auto lock = FileLock::take(std::string(folder) + "/torvo-file-manager.lock", kSelectTime);
    return lock ? std::optional(*std::move(lock)) : std::nullopt;
}

bool isAnyIn(const std::optional<std::string>& folder, const std::vector<std::string>& items) {
    return folder && std::ranges::any_of(items, [parent = FileURL(*folder)](const std::string& item) {
               return FileURL(item).deletingLastPathComponent() == parent;
           });
}

/// How far two places are from each other. Toolkits count in points, of which each has one to three pixels.
double distanceBetween(const AccessibleExtents& points, const Rect& pixels) {
    double least = std::numeric_limits<double>::max();
    for (const int scale : {1, 2, 3})
        least = std::min(least, std::abs(points.x * scale - pixels.x) + std::abs(points.y * scale - pixels.y) +
                                    std::abs(points.width * scale - pixels.width) +
                                    std::abs(points.height * scale - pixels.height));
    return least;
}

} // namespace

AccessibilityBus* FileManagers::accessibility(Deadline deadline) {
    if (m_accessibility != nullptr && !m_accessibility->isClosed() && m_session == m_bus.connection())
        return m_accessibility.get();
    // What is known of the windows goes with the connections that it was learned through.
    m_windows.clear();
    m_accessibility.reset();
    m_session = m_bus.connection();
    if (m_session != nullptr)
        m_accessibility = AccessibilityBus::connect(*m_session, deadline).value_or(nullptr);
    return m_accessibility.get();
}

std::vector<std::int32_t> FileManagers::processes() {
    const std::lock_guard guard(m_placesLock);
    return m_places.processes();
}

std::optional<xcb_window_t> FileManagers::frontWindow() {
    const std::lock_guard guard(m_placesLock);
    return m_places.front();
}

std::optional<xcb_window_t> FileManagers::frontWindow(std::int32_t pid) {
    const std::lock_guard guard(m_placesLock);
    return m_places.frontOf(pid);
}

std::optional<Rect> FileManagers::frame(xcb_window_t window) {
    const std::lock_guard guard(m_placesLock);
    return m_places.frame(window);
}

std::optional<FileManagers::Frame> FileManagers::frameObject(xcb_window_t window, const AccessibleObject& application,
                                                             Deadline deadline) {
    const AccessibleReader reader(*m_accessibility, deadline);
    auto frames = reader.nodes(reader.children(application));
    std::vector<AccessibleObject> objects;
    std::ranges::transform(frames, std::back_inserter(objects), &AccessibleNode::object);
    // Windows are told apart by their titles: by the whole title, or by the most of it.
    const auto title = m_open.display()->textProperty(window, "_NET_WM_NAME");
    const auto names = reader.names(objects);
    std::size_t longest = 0;
    for (const auto& name : names)
        if (title.starts_with(name))
            longest = std::max(longest, name.size());
    std::vector<AccessibleNode> sameTitle;
    for (std::size_t i = 0; i < frames.size(); ++i)
        if (names[i].size() == longest && title.starts_with(names[i]))
            sameTitle.push_back(frames[i]);
    if (sameTitle.size() == 1)
        return Frame{sameTitle.front().object, longest == title.size() && longest > 0};
    // Of those that have the same title, the one that has the keyboard is known; the others by their places.
    if (m_open.display()->activeWindow() == window) {
        const auto isActive = [](const AccessibleNode& node) { return node.has(AccessibleState::active); };
        if (std::ranges::count_if(sameTitle, isActive) == 1)
            return Frame{std::ranges::find_if(sameTitle, isActive)->object, true};
    }
    const auto place = windowFrameOnDesktop(*m_open.display(), window);
    std::optional<Frame> nearest;
    double least = 0;
    for (const auto& candidate : sameTitle) {
        const auto extents = reader.extents(candidate.object);
        if (!extents || !place || extents->width <= 0)
            continue;
        const double distance = distanceBetween(*extents, *place);
        if (!nearest || distance < least) {
            nearest = Frame{candidate.object, false};
            least = distance;
        }
    }
    return nearest;
}

FileManagerWindow* FileManagers::adapter(xcb_window_t window) {
    auto* screen = m_open.display();
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
    const auto known = m_windows.find(window);
    const bool isKnown = known != m_windows.end() && known->second.pid == *pid;
    if (isKnown && known->second.frame.isCertain)
        return known->second.adapter.get();
    const auto frame = frameObject(window, *application, steady_clock::now() + kAnswerTime);
    if (!frame)
        return nullptr;
    if (isKnown && known->second.frame.object == frame->object) {
        known->second.frame = *frame;
        return known->second.adapter.get();
    }
    // Those of windows that are gone go with the first new one.
    const auto open = screen->stackedWindows();
    std::erase_if(m_windows, [&](const auto& each) { return std::ranges::find(open, each.first) == open.end(); });
    auto made =
        fileManagerWindow(screen->windowClass(window), {*m_session, *bus, m_clipboard, *pid, window, frame->object});
    return (m_windows[window] = {std::move(made), *pid, *frame}).adapter.get();
}

std::optional<std::string> FileManagers::folder(xcb_window_t window) {
    const std::lock_guard guard(m_lock);
    auto* each = adapter(window);
    return each == nullptr ? std::nullopt : each->folder(steady_clock::now() + kWorkTime);
}

bool FileManagers::showsSelection(xcb_window_t window) {
    const std::lock_guard guard(m_lock);
    auto* each = adapter(window);
    return each != nullptr && each->showsSelection(steady_clock::now() + kWorkTime);
}

std::optional<std::string> FileManagers::frontFolder() {
    const std::lock_guard guard(m_lock);
    const auto window = m_open.front();
    auto* each = window ? adapter(*window) : nullptr;
    return each == nullptr ? std::nullopt : each->folder(steady_clock::now() + kWorkTime);
}

std::vector<std::string> FileManagers::selection() {
    const std::lock_guard guard(m_lock);
    const auto turn = turnAmongPrograms();
    const auto window = m_open.front();
    auto* each = window ? adapter(*window) : nullptr;
    return each == nullptr ? std::vector<std::string>() : each->selection(steady_clock::now() + kWorkTime);
}

void FileManagers::select(const std::vector<std::string>& items) {
    const std::lock_guard guard(m_lock);
    const auto turn = turnAmongPrograms();
    const auto window = m_open.front();
    auto* each = window ? adapter(*window) : nullptr;
    const auto deadline = steady_clock::now() + kSelectTime;
    if (each != nullptr && (items.empty() || isAnyIn(each->folder(deadline), items)))
        each->select(items, deadline);
}

bool FileManagers::isAccessible() {
    const auto session = m_bus.connection();
    return session != nullptr && AccessibilityBus::isEnabled(*session, steady_clock::now() + kAnswerTime);
}

void FileManagers::makeAccessible() {
    const std::lock_guard guard(m_lock);
    const auto deadline = steady_clock::now() + kWorkTime;
    auto* bus = accessibility(deadline);
    if (bus == nullptr)
        return;
    AccessibilityBus::enable(*m_session, deadline);
    // Asking for any program starts the registry, without which those built with Qt 5 do not register.
    (void)bus->application(0, deadline);
}

} // namespace torvo
