#pragma once

#include "platform/UserNotifications.h"

#include <string_view>

namespace torvo {

namespace Notifier {

/// Shows a notification to a user who allows it, and asks one who was never asked. `center` must outlive the answer.
void post(UserNotifications& center, std::string_view title, std::string_view body);

} // namespace Notifier

} // namespace torvo
