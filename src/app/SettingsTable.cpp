#include "app/SettingsTable.h"

#include "desktop/SettingsStore.h"
#include "planning/LLMEndpoint.h"
#include "planning/RulesStore.h"
#include "support/Json.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace torvo::SettingsTable {

namespace {

using Kind = SettingKey::Kind;

constexpr std::array kKeys{
    SettingKey{"onboardingShown", Kind::boolean, "the set-up window has opened once"},
    SettingKey{"autoAttach", Kind::boolean, "dock the bar to file-manager windows"},
    SettingKey{"globalHotKey", Kind::hotKey, "the shortcut that summons the bar, such as command+shift+space"},
    SettingKey{"dryRunPreview", Kind::boolean, "show and confirm every command before it runs"},
    SettingKey{"commandLoggingEnabled", Kind::boolean, "keep a local log of commands"},
    SettingKey{"commandHistory", Kind::list, "recent commands, newest first, as a JSON list of texts"},
    SettingKey{"rules", Kind::rules, "your own shortcuts (see torvo rules)"},
    SettingKey{"llm.baseURL", Kind::text, "root of the OpenAI-compatible model server"},
    SettingKey{"llm.model", Kind::text, "name of the model"},
};

std::string shownBoolean(const SettingKey& key, UserDefaults& defaults, CommandLog& log) {
    if (key.name == "autoAttach")
        return fmt::to_string(SettingsStore::autoAttach(defaults));
    if (key.name == "commandLoggingEnabled")
        return fmt::to_string(log.isEnabled());
    return fmt::to_string(defaults.getAs<bool>(key.name).value_or(false));
}

/// In the form that `parsed` takes.
std::string shownHotKey(const HotKeyConfiguration& hotKey) {
    std::string text;
    text += hotKey.control ? "control+" : "";
    text += hotKey.option ? "option+" : "";
    text += hotKey.command ? "command+" : "";
    text += hotKey.shift ? "shift+" : "";
    return text + hotKey.key;
}

std::string shownRules(UserDefaults& defaults) {
    Json list = Json::array();
    const RulesStore store(defaults);
    for (const auto& rule : store.rules())
        list.push_back({{"id", rule.id.text()}, {"trigger", rule.trigger}, {"expansion", rule.expansion}});
    return compactJson(list);
}

std::expected<DefaultsValue, std::string> parsedBoolean(std::string_view name, std::string_view text) {
    const auto word = lowercased(text);
    if (word == "true" || word == "on" || word == "yes" || word == "1")
        return true;
    if (word == "false" || word == "off" || word == "no" || word == "0")
        return false;
    return std::unexpected(fmt::format("{} is either on or off", name));
}

std::expected<DefaultsValue, std::string> parsedList(std::string_view name, std::string_view text) {
    const auto document = parseJson(text);
    std::vector<std::string> list;
    if (document && document->is_array() &&
        std::ranges::all_of(*document, [](const Json& element) { return element.is_string(); })) {
        for (const Json& element : *document)
            list.push_back(element.get<std::string>());
        return list;
    }
    return std::unexpected(fmt::format("{} takes a JSON list of texts, such as [\"zip\"]", name));
}

std::expected<DefaultsValue, std::string> parsedHotKey(std::string_view name, std::string_view text) {
    HotKeyConfiguration hotKey{"", false, false, false, false};
    const auto lower = lowercased(text);
    for (const auto part : splitNonEmpty(lower, "+- ")) {
        if (part == "command" || part == "super")
            hotKey.command = true;
        else if (part == "shift")
            hotKey.shift = true;
        else if (part == "option" || part == "alt")
            hotKey.option = true;
        else if (part == "control" || part == "ctrl")
            hotKey.control = true;
        else if (hotKey.key.empty() && isHotKeyName(part))
            hotKey.key = part;
        else
            return std::unexpected(fmt::format("{} takes modifiers and one key, such as command+shift+space; “{}” is "
                                               "no part of that",
                                               name, printableLine(part)));
    }
    if (!hotKey.command && !hotKey.option && !hotKey.control)
        return std::unexpected(fmt::format("{} needs command, option or control, such as command+shift+space", name));
    if (hotKey.key.empty())
        return std::unexpected(fmt::format("{} needs a key, space or a letter, such as command+shift+space", name));
    return DefaultsData{hotKey.encoded()};
}

} // namespace

std::span<const SettingKey> keys() {
    return kKeys;
}

const SettingKey* find(std::string_view name) {
    const auto* key = std::ranges::find(kKeys, name, &SettingKey::name);
    return key == kKeys.end() ? nullptr : key;
}

std::string shown(const SettingKey& key, UserDefaults& defaults, CommandLog& log) {
    switch (key.kind) {
    case Kind::boolean:
        return shownBoolean(key, defaults, log);
    case Kind::list:
        return compactJson(defaults.getAs<std::vector<std::string>>(key.name).value_or(std::vector<std::string>{}));
    case Kind::hotKey:
        return shownHotKey(SettingsStore::hotKey(defaults));
    case Kind::rules:
        return shownRules(defaults);
    case Kind::text:
        break;
    }
    const auto endpoint = LLMEndpoint::current(defaults);
    return key.name == "llm.baseURL" ? endpoint.baseURL : endpoint.model;
}

std::expected<DefaultsValue, std::string> parsed(const SettingKey& key, std::string_view text) {
    switch (key.kind) {
    case Kind::boolean:
        return parsedBoolean(key.name, text);
    case Kind::list:
        return parsedList(key.name, text);
    case Kind::hotKey:
        return parsedHotKey(key.name, text);
    case Kind::rules:
        return std::unexpected("rules are changed with torvo rules add and torvo rules remove");
    case Kind::text:
        break;
    }
    return std::string(text);
}

} // namespace torvo::SettingsTable
