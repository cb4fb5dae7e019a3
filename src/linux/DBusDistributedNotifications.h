#pragma once

#include "linux/SessionBus.h"
#include "linux/ThreadQueue.h"
#include "platform/DistributedNotifications.h"

namespace torvo {

/// Notifications as signals on the session bus: path /org/torvo/DistributedNotifications, interface
/// org.torvo.DistributedNotifications, member Posted, whose one argument (s) is the name. Without a bus nobody is told.
class DBusDistributedNotifications final : public DistributedNotifications {
  public:
    /// `bus` must outlive the object.
    explicit DBusDistributedNotifications(SessionBus& bus) : m_bus(bus) {}

    /// Never waits for the bus. Whatever was posted has reached it when the object is gone.
    void post(std::string_view name) override;

  private:
    SessionBus& m_bus;
    ThreadQueue m_queue;
};

} // namespace torvo
