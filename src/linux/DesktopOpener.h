#pragma once

#include "linux/SessionBus.h"
#include "linux/ThreadQueue.h"
#include "platform/Dispatcher.h"
#include "support/FileURL.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Opens things with what the user has for them. Nothing here waits: the work is done on a thread of the object's own,
/// one after the other, and programs that are started have their own life.
class DesktopOpener {
  public:
    /// Both must outlive the object.
    DesktopOpener(SessionBus& bus, Dispatcher& dispatcher);
    /// Gives up on a file manager that does not answer.
    ~DesktopOpener();
    DesktopOpener(const DesktopOpener&) = delete;
    DesktopOpener& operator=(const DesktopOpener&) = delete;

    /// Has the file manager show the files selected (File Manager D-Bus Interface, org.freedesktop.FileManager1). When
    /// it cannot, the folder of the first one is opened.
    void reveal(std::vector<FileURL> files);
    /// Opens an http, https or file address by xdg-open, or a pane of the system's settings as the running desktop
    /// shows it. Any other address does nothing.
    void open(std::string address);
    /// Starts a program, or the program AppRun in a folder; opens any other folder. `opened` is called on the main
    /// thread when that is done, or failed.
    void openApplication(FileURL application, std::function<void()> opened);

  private:
    [[nodiscard]] bool showItems(const std::vector<FileURL>& files);

    SessionBus& m_bus;
    Dispatcher& m_dispatcher;
    GLibPointer<GCancellable> m_cancellable;
    ThreadQueue m_queue;
};

/// The address as xdg-open is to get it: an http, https or file address whose every byte that no address may hold as it
/// is (RFC 3986) is percent-encoded; empty for any other text.
[[nodiscard]] std::string openableAddress(std::string_view address);

} // namespace torvo
