#pragma once

#include "linux/accessibility/AccessibleReader.h"
#include "linux/clipboard/ClipboardKeeper.h"

#include <xcb/xproto.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What a window of a file manager is driven through.
struct FileManagerAccess {
    DBusConnection& session;
    AccessibilityBus& accessibility;
    ClipboardKeeper& clipboard;
    /// The window's process and its number on the X server.
    std::int32_t pid = 0;
    xcb_window_t window = XCB_WINDOW_NONE;
    /// The window on the accessibility bus.
    AccessibleObject frame;
};

/// One window of a file manager. Paths are bytes. What the file manager does not tell by the deadline reads as absent.
/// For one thread at a time.
class FileManagerWindow {
  public:
    virtual ~FileManagerWindow() = default;

    /// The folder that the window shows; absent for what is no folder on the disk.
    [[nodiscard]] virtual std::optional<std::string> folder(Deadline deadline) = 0;
    /// Whether `selection` only looks at the window; otherwise it has the window copy what is selected.
    [[nodiscard]] virtual bool showsSelection(Deadline /*deadline*/) { return true; }
    /// The selected items, in the window's order.
    [[nodiscard]] virtual std::vector<std::string> selection(Deadline deadline) = 0;
    /// Selects exactly these items of the folder that is shown, waiting until the window shows them; others are left
    /// out. An empty list clears the selection.
    virtual void select(const std::vector<std::string>& items, Deadline deadline) = 0;
};

/// Whether a window class (the second text of WM_CLASS) is that of a file manager that Torvo can drive.
[[nodiscard]] bool isFileManager(std::string_view windowClass);

/// The way to drive a window of that class; null for other programs.
[[nodiscard]] std::unique_ptr<FileManagerWindow> fileManagerWindow(std::string_view windowClass,
                                                                   FileManagerAccess access);

} // namespace torvo
