#pragma once

#include <functional>
#include <string>

namespace torvo {

enum class NotificationAuthorization { notDetermined, denied, authorized, provisional };

struct UserNotification {
    /// Unique for each notification.
    std::string identifier;
    std::string title;
    std::string body;

    bool operator==(const UserNotification&) const = default;
};

/// The notifications of the desktop. Answers may come on any thread, or before the call returns.
class UserNotifications {
  public:
    virtual ~UserNotifications() = default;

    virtual void authorization(std::function<void(NotificationAuthorization)> answer) = 0;
    /// Asks the user whether alerts and sounds are welcome.
    virtual void requestAuthorization(std::function<void(bool isGranted)> answer) = 0;
    /// Shows a notification at once, without a sound. A failure is ignored.
    virtual void add(const UserNotification& notification) = 0;
};

} // namespace torvo
