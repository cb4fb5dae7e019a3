#pragma once

#include "model/Selecting.h"
#include "platform/Accessibility.h"
#include "platform/Screens.h"
#include "platform/ScriptHost.h"
#include "platform/SystemLog.h"
#include "platform/Workspace.h"
#include "support/FileURL.h"
#include "support/Geometry.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What the selection script printed, as files: a path a line, kept byte for byte.
[[nodiscard]] std::vector<FileURL> parseFinderSelection(std::string_view output);

/// The frame of a window on the desktop from its position and size as accessibility reports them (see
/// `AccessibilityValue`); absent for a window without width. `screenHeight`: of the primary screen; 0 without one.
[[nodiscard]] std::optional<Rect> finderWindowFrame(const Point& position, const Size& size, double screenHeight);

/// A window of the file manager.
struct FinderWindow {
    AccessibilityElement element;
    Rect frame;
};

/// The only place that talks to the file manager: what is selected, what the front window shows and where it is. Holds
/// no state; callable from any thread, except for what says otherwise. A file manager that is not running, hangs or
/// refuses reads as empty.
class FinderService final : public Selecting {
  public:
    /// All must outlive the service.
    struct Platform {
        ScriptHost& scripts;
        Accessibility& accessibility;
        Workspace& workspace;
        Screens& screens;
        SystemLog& log;
    };
    explicit FinderService(Platform platform) : m_platform(platform) {}

    /// The selected files, in the file manager's order.
    [[nodiscard]] std::vector<FileURL> selectedFiles();
    /// Whether `selectedFiles` only looks. Otherwise the file manager has to do something for it, and should not be
    /// asked before the user wants it.
    [[nodiscard]] bool showsSelection();
    void select(const std::vector<FileURL>& items) override;
    /// The folder that the front window shows.
    [[nodiscard]] std::optional<FileURL> frontWindowFolder();
    /// The front window and where it is; only ordinary windows count. Main thread only, because the screens are.
    [[nodiscard]] std::optional<FinderWindow> frontWindow();
    [[nodiscard]] std::optional<Rect> frontWindowFrame();

  private:
    [[nodiscard]] std::optional<std::string> runOsascript(const std::vector<std::string>& arguments);
    [[nodiscard]] std::optional<AccessibilityElement> frontFinderAXWindow();
    [[nodiscard]] std::optional<AccessibilityElement> window(const AccessibilityElement& application,
                                                             std::string_view attribute);
    [[nodiscard]] bool isStandardWindow(const AccessibilityElement& element);
    [[nodiscard]] std::optional<std::string> frontWindowFolderViaAX();
    [[nodiscard]] std::optional<std::string> frontWindowFolderViaAppleScript();

    Platform m_platform;
};

} // namespace torvo
