#pragma once

#include "platform/LoginItem.h"

#include <expected>
#include <string>

namespace torvo {

namespace LaunchAtLoginService {

/// Has the desktop start Torvo at login, or no longer; nothing is done where it already is so. The error is the
/// platform's, one line for the user.
std::expected<void, std::string> setEnabled(bool isEnabled, LoginItem& item);

} // namespace LaunchAtLoginService

} // namespace torvo
