#pragma once

#include "support/FileURL.h"
#include "support/Observable.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What the file manager is called, whichever one is running.
constexpr std::string_view kFinderIdentifier = "com.apple.finder";

/// The applications of the desktop session.
class Workspace {
  public:
    virtual ~Workspace() = default;

    /// The identifier of the application that the user works in; the bar's own panel does not count. Absent when there
    /// is none, or it has no identifier. Main thread.
    [[nodiscard]] virtual std::optional<std::string> frontmostApplication() = 0;
    /// The process numbers of the running applications of that identifier. Callable from any thread.
    [[nodiscard]] virtual std::vector<std::int32_t> runningApplications(std::string_view identifier) = 0;
    /// Brings the first running application of that identifier to the front, if there is one. Main thread.
    virtual void activate(std::string_view identifier) = 0;
    /// Calls `activated` on the main thread whenever another application has become the frontmost one.
    [[nodiscard]] virtual Subscription onActivation(std::function<void()> activated) = 0;

    /// Opens an address (a web page, a pane of the system's settings) with what the user has for it. Nothing is
    /// reported back. Main thread, as what follows.
    virtual void open(const std::string& address) = 0;
    /// Starts the application in that folder or file and calls `opened` on the main thread when the attempt is over.
    virtual void openApplication(const FileURL& application, std::function<void()> opened) = 0;
    /// Opens a file-manager window in which these files are selected.
    virtual void reveal(const std::vector<FileURL>& files) = 0;
};

} // namespace torvo
