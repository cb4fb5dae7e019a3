#pragma once

#include "linux/SessionBus.h"
#include "linux/ThreadQueue.h"
#include "platform/UserNotifications.h"

namespace torvo {

/// The notification server of the desktop (Desktop Notifications Specification), reached over the session bus. Nothing
/// here waits for the server; answers come on a thread of the object's own, or when it is destroyed.
class DesktopNotifications final : public UserNotifications {
  public:
    /// `bus` must outlive the object.
    explicit DesktopNotifications(SessionBus& bus) : m_bus(bus), m_cancellable(g_cancellable_new()) {}
    /// Gives up on a server that does not answer.
    ~DesktopNotifications() override;

    /// The desktop has no permissions for notifications: authorized when there is a server or one would be started,
    /// otherwise denied.
    void authorization(std::function<void(NotificationAuthorization)> answer) override;
    void requestAuthorization(std::function<void(bool isGranted)> answer) override;
    void add(const UserNotification& notification) override;

  private:
    [[nodiscard]] bool hasServer();
    void show(const UserNotification& notification);

    SessionBus& m_bus;
    GLibPointer<GCancellable> m_cancellable;
    ThreadQueue m_queue;
};

} // namespace torvo
