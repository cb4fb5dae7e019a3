#pragma once

#include "linux/X11Connection.h"
#include "linux/filemanager/FileManagerWindow.h"
#include "support/Geometry.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace torvo {

/// The file managers that run on this desktop. Their windows' places are asked of the X server alone, which answers
/// whatever they do; for the rest each of them has a limited time, and for one that did not answer nobody waits again.
/// Everything that cannot be had reads as absent. Callable from any thread.
class FileManagers {
  public:
    FileManagers() = default;

    /// The processes with a window, the one with the topmost window first.
    [[nodiscard]] std::vector<std::int32_t> processes();
    /// The topmost ordinary window of a process that is on the screen.
    [[nodiscard]] std::optional<xcb_window_t> frontWindow(std::int32_t pid);
    /// The window's frame, decoration included, from the top left of the desktop.
    [[nodiscard]] std::optional<Rect> frame(xcb_window_t window);
    [[nodiscard]] std::optional<std::string> folder(xcb_window_t window);

    /// Of the topmost window of all.
    [[nodiscard]] std::vector<std::string> selection();
    void select(const std::vector<std::string>& items);
    [[nodiscard]] std::optional<std::string> frontFolder();

    /// Whether programs are asked to show themselves on the accessibility bus.
    [[nodiscard]] bool isAccessible();
    void makeAccessible();

    /// Leaves what was on the clipboard before to a process of its own; for a program that is about to end.
    void leaveClipboardBehind() { m_clipboard.leaveBehind(); }

  private:
    struct Window {
        std::unique_ptr<FileManagerWindow> adapter;
        std::int32_t pid = 0;
    };

    [[nodiscard]] X11Connection* display();
    [[nodiscard]] DBusConnection* session();
    [[nodiscard]] AccessibilityBus* accessibility(Deadline deadline);
    [[nodiscard]] std::vector<xcb_window_t> windows();
    [[nodiscard]] std::optional<xcb_window_t> topmost();
    /// The adapter of a window whose program answers; null otherwise.
    [[nodiscard]] FileManagerWindow* adapter(xcb_window_t window);
    [[nodiscard]] std::optional<AccessibleObject> frameObject(xcb_window_t window, const AccessibleObject& application,
                                                              Deadline deadline);

    std::mutex m_lock;
    std::unique_ptr<X11Connection> m_display;
    std::shared_ptr<DBusConnection> m_session;
    std::unique_ptr<AccessibilityBus> m_accessibility;
    ClipboardKeeper m_clipboard;
    std::map<xcb_window_t, Window> m_windows;
    /// Programs that did not answer when they were last asked.
    std::set<std::int32_t> m_silent;
};

} // namespace torvo
