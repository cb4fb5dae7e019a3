#include "desktop/SettingsStore.h"

#include <optional>

namespace torvo::SettingsStore {

bool autoAttach(UserDefaults& defaults) {
    return defaults.getAs<bool>("autoAttach").value_or(true);
}

std::expected<void, std::string> setAutoAttach(bool isOn, UserDefaults& defaults) {
    return defaults.set("autoAttach", isOn);
}

bool dryRunPreview(UserDefaults& defaults) {
    return defaults.getAs<bool>(kDryRunPreview).value_or(false);
}

HotKeyConfiguration hotKey(UserDefaults& defaults) {
    const auto data = defaults.getAs<DefaultsData>(kHotKey);
    return HotKeyConfiguration::decode(data ? std::optional(data->bytes) : std::nullopt);
}

std::expected<void, std::string> setHotKey(const HotKeyConfiguration& hotKey, UserDefaults& defaults) {
    return defaults.set(kHotKey, DefaultsData{hotKey.encoded()});
}

} // namespace torvo::SettingsStore
