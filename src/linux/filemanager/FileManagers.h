#pragma once

#include "linux/SessionBus.h"
#include "linux/filemanager/FileManagerWindow.h"
#include "linux/filemanager/OpenFileManagers.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace torvo {

/// The file managers that run on this desktop. Each of them has a limited time, and for one that did not answer nobody
/// waits again. Everything that cannot be had reads as absent. Callable from any thread; only where a call says so it
/// returns at once.
class FileManagers {
  public:
    /// `bus` must outlive the object. `lastActive`: see `OpenFileManagers`.
    explicit FileManagers(SessionBus& bus, const OpenFileManagers::LastActive& lastActive = {})
        : m_bus(bus), m_places(lastActive), m_open(lastActive) {}

    /// See `OpenFileManagers`. These ask the X server alone, and do not wait for what is asked of a file manager.
    [[nodiscard]] std::vector<std::int32_t> processes();
    [[nodiscard]] std::optional<xcb_window_t> frontWindow();
    [[nodiscard]] std::optional<xcb_window_t> frontWindow(std::int32_t pid);
    [[nodiscard]] std::optional<Rect> frame(xcb_window_t window);

    [[nodiscard]] std::optional<std::string> folder(xcb_window_t window);
    /// Whether what is selected in the window can be seen without doing anything to it.
    [[nodiscard]] bool showsSelection(xcb_window_t window);

    /// Of the front window. Where none of the items is of the folder that it shows, the user has gone on to something
    /// else, and `select` leaves the selection there alone.
    [[nodiscard]] std::vector<std::string> selection();
    void select(const std::vector<std::string>& items);
    [[nodiscard]] std::optional<std::string> frontFolder();

    /// Whether programs are asked to show themselves on the accessibility bus.
    [[nodiscard]] bool isAccessible();
    void makeAccessible();

    /// Leaves what was on the clipboard before to a process of its own; for a program that is about to end.
    void leaveClipboardBehind() { m_clipboard.leaveBehind(); }

  private:
    /// A window on the accessibility bus; `isCertain`: it was found by more than its place.
    struct Frame {
        AccessibleObject object;
        bool isCertain = false;
    };
    struct Window {
        std::unique_ptr<FileManagerWindow> adapter;
        std::int32_t pid = 0;
        Frame frame;
    };

    [[nodiscard]] AccessibilityBus* accessibility(Deadline deadline);
    /// The adapter of a window whose program answers; null otherwise.
    [[nodiscard]] FileManagerWindow* adapter(xcb_window_t window);
    [[nodiscard]] std::optional<Frame> frameObject(xcb_window_t window, const AccessibleObject& application,
                                                   Deadline deadline);

    SessionBus& m_bus;

    std::mutex m_placesLock;
    OpenFileManagers m_places;

    /// Held while a file manager is asked for something, and for all that follows.
    std::mutex m_lock;
    OpenFileManagers m_open;
    std::shared_ptr<DBusConnection> m_session;
    std::unique_ptr<AccessibilityBus> m_accessibility;
    ClipboardKeeper m_clipboard;
    std::map<xcb_window_t, Window> m_windows;
    /// Programs that did not answer when they were last asked.
    std::set<std::int32_t> m_silent;
};

} // namespace torvo
