#pragma once

#include "linux/DBusConnection.h"

#include <memory>
#include <mutex>
#include <string>

namespace torvo {

/// The session bus as the services of one program share it. Callable from any thread.
class SessionBus {
  public:
    SessionBus() = default;
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// The connection, made when it is first wanted and made anew once it was lost; null when there is no bus. Blocks
    /// while it connects.
    [[nodiscard]] std::shared_ptr<DBusConnection> connection();

  private:
    std::mutex m_lock;
    std::shared_ptr<DBusConnection> m_connection;
};

/// Whether a program with that bus name runs, or the bus would start one. Blocks, not for long.
[[nodiscard]] bool isReachable(const DBusConnection& connection, const std::string& name,
                               GCancellable* cancellable = nullptr);
/// Whether a program with that bus name runs.
[[nodiscard]] bool isRunning(const DBusConnection& connection, const std::string& name,
                             GCancellable* cancellable = nullptr);

} // namespace torvo
