#include "desktop/HotKeyConfiguration.h"

#include "support/Json.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace torvo {

bool isHotKeyName(std::string_view key) {
    return key == "space" || (key.size() == 1 && key[0] >= 'a' && key[0] <= 'z');
}

std::string HotKeyConfiguration::encoded() const {
    return compactJson(
        {{"key", key}, {"command", command}, {"shift", shift}, {"option", option}, {"control", control}});
}

HotKeyConfiguration HotKeyConfiguration::decode(const std::optional<std::string>& data) {
    const auto document = data ? parseJson(*data) : std::unexpected(std::string());
    if (!document)
        return {};
    const Json* key = memberOf(*document, "key");
    if (key == nullptr || !key->is_string() || !isHotKeyName(key->get_ref<const std::string&>()))
        return {};
    HotKeyConfiguration configuration{.key = key->get<std::string>()};
    const std::pair<const char*, bool*> flags[] = {{"command", &configuration.command},
                                                   {"shift", &configuration.shift},
                                                   {"option", &configuration.option},
                                                   {"control", &configuration.control}};
    for (const auto& [name, flag] : flags) {
        const Json* value = memberOf(*document, name);
        if (value == nullptr || !value->is_boolean())
            return {};
        *flag = value->get<bool>();
    }
    return configuration;
}

std::string HotKeyConfiguration::displayName() const {
    std::string name;
    name += control ? "⌃" : "";
    name += option ? "⌥" : "";
    name += command ? "⌘" : "";
    name += shift ? "⇧" : "";
    return name + (key == "space" ? "Space" : uppercased(key));
}

} // namespace torvo
