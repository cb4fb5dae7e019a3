#pragma once

#include "linux/DBusServer.h"
#include "platform/Dispatcher.h"
#include "support/FileURL.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace torvo {

/// What the bar does for other programs.
struct RemoteControlActions {
    /// Gives the bar the keyboard, and shows it first when the file manager is in front.
    std::function<void()> toggle;
    /// Takes files as if they were dropped on the bar.
    std::function<void(const std::vector<FileURL>& files)> drop;
    /// Shows the bar with that text, not yet entered.
    std::function<void(const std::string& text)> prefill;
    /// Opens "torvo:" addresses.
    std::function<void(const std::vector<std::string>& addresses)> openURLs;
    /// Whether the bar is on the screen, asked after each of these.
    std::function<bool()> isShown;
};

/// The bar's end of the remote control: the bus name org.torvo.Torvo, which only one program of the session has, and
/// on it the object /org/torvo/Torvo with the interface org.torvo.Torvo:
///
///     Toggle() -> b, Drop(aay paths) -> b, Prefill(s text) -> b, OpenURLs(as addresses) -> b
///
/// Each is answered when it is done, with whether the bar is shown then: without a file manager it is not. Paths are
/// bytes, with or without a NUL byte at the end, and absolute; a call with another kind of path does nothing and fails.
class RemoteControl {
  public:
    /// Takes the name and from now on hands calls over to `actions`, on the main thread. The failure tells a bar that
    /// runs already from a bus that is not there. `dispatcher` must outlive the object.
    [[nodiscard]] static std::expected<std::unique_ptr<RemoteControl>, DBusServer::Failure>
    start(Dispatcher& dispatcher, RemoteControlActions actions);
    /// Main thread. No action is called any more.
    ~RemoteControl() = default;
    RemoteControl(const RemoteControl&) = delete;
    RemoteControl& operator=(const RemoteControl&) = delete;

  private:
    RemoteControl() = default;

    std::shared_ptr<RemoteControlActions> m_actions;
    /// After the actions: it ends first.
    std::unique_ptr<DBusServer> m_server;
};

/// The other end: asks the bar that runs in this session. Calls block until the bar has done it, which is at once.
namespace RemoteBar {

struct Failure {
    enum class Kind : std::uint8_t {
        notRunning,
        /// There is no session bus, or the bar does not answer.
        unreachable,
        /// There is no window of a file manager to show the bar under.
        notShown,
    };
    Kind kind = Kind::unreachable;
    /// One line for the user.
    std::string description;
};
using Result = std::expected<void, Failure>;

[[nodiscard]] Result toggle();
[[nodiscard]] Result drop(const std::vector<FileURL>& files);
/// `text`: UTF-8.
[[nodiscard]] Result prefill(const std::string& text);
[[nodiscard]] Result openURLs(const std::vector<std::string>& addresses);

/// Waits until a bar can be asked, one that was just started; false when there is none in that time.
[[nodiscard]] bool waitUntilRunning(std::chrono::milliseconds patience);

} // namespace RemoteBar

} // namespace torvo
