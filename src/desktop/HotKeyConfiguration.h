#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// A global keyboard shortcut: one key, which is "space" or a letter from "a" to "z", and its modifiers.
struct HotKeyConfiguration {
    std::string key = "space";
    bool command = true;
    bool shift = true;
    bool option = false;
    bool control = false;

    bool operator==(const HotKeyConfiguration&) const = default;

    /// The stored form: a JSON object with exactly the five fields.
    [[nodiscard]] std::string encoded() const;
    /// Reads the stored form; the default shortcut for no data, a missing field or an unknown key.
    [[nodiscard]] static HotKeyConfiguration decode(const std::optional<std::string>& data);
    /// "⌃⌥⌘⇧" as far as they apply, then "Space" or the upper-case letter.
    [[nodiscard]] std::string displayName() const;
};

/// Whether `key` is "space" or one letter from "a" to "z".
[[nodiscard]] bool isHotKeyName(std::string_view key);

} // namespace torvo
