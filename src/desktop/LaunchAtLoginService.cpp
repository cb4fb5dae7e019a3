#include "desktop/LaunchAtLoginService.h"

namespace torvo::LaunchAtLoginService {

std::expected<void, std::string> setEnabled(bool isEnabled, LoginItem& item) {
    const auto status = item.status();
    if (isEnabled)
        return status == LoginItemStatus::enabled ? std::expected<void, std::string>() : item.registerItem();
    return status == LoginItemStatus::notRegistered ? std::expected<void, std::string>() : item.unregisterItem();
}

} // namespace torvo::LaunchAtLoginService
