#include "desktop/Notifier.h"

#include "support/UUID.h"

namespace torvo::Notifier {

void post(UserNotifications& center, std::string_view title, std::string_view body) {
    UserNotification notification{UUID::random().text(), std::string(title), std::string(body)};
    center.authorization([&center, notification = std::move(notification)](NotificationAuthorization authorization) {
        switch (authorization) {
        case NotificationAuthorization::authorized:
        case NotificationAuthorization::provisional:
            center.add(notification);
            break;
        case NotificationAuthorization::notDetermined:
            center.requestAuthorization([&center, notification](bool isGranted) {
                if (isGranted)
                    center.add(notification);
            });
            break;
        case NotificationAuthorization::denied:
            break;
        }
    });
}

} // namespace torvo::Notifier
