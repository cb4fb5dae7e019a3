#pragma once

#include "execution/CommandLog.h"
#include "platform/UserDefaults.h"

#include <expected>
#include <span>
#include <string>
#include <string_view>

namespace torvo {

/// One key of the settings and what it holds.
struct SettingKey {
    enum class Kind { boolean, text, list, hotKey, rules };
    std::string_view name;
    Kind kind = Kind::text;
    /// What it does, in a few words.
    std::string_view meaning;
};

/// All settings by name, for reading and changing them as text.
namespace SettingsTable {

/// Every key, in the order in which they are shown.
[[nodiscard]] std::span<const SettingKey> keys();
/// Null for a name that is no key.
[[nodiscard]] const SettingKey* find(std::string_view name);

/// The value of a key as a line for people: its default where nothing fitting is stored. Lists and rules are JSON.
[[nodiscard]] std::string shown(const SettingKey& key, UserDefaults& defaults, CommandLog& log);

/// The value that a typed text stands for: "on" or "true", a text, a JSON list, "command+shift+space". The error is one
/// line that says what would be right.
[[nodiscard]] std::expected<DefaultsValue, std::string> parsed(const SettingKey& key, std::string_view text);

} // namespace SettingsTable

} // namespace torvo
