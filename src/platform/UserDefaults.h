#pragma once

#include "support/Observable.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvo {

/// Bytes that need not be text.
struct DefaultsData {
    std::string bytes;

    bool operator==(const DefaultsData&) const = default;
};

/// One stored setting. Texts are UTF-8. The alternative is part of the value: a text "1" is not the number 1, and the
/// number 1 is not the Boolean true.
using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, DefaultsData, std::vector<std::string>>;

/// The user's settings: a store of typed values under plain keys, shared by every process of the program. Nothing that
/// is read is stale. Safe to call from any thread.
///
/// A change is seen by every reader in this process when the call returns. A store writes it to the disk before that,
/// where an error, one line for the user, means that it did not happen; or after it, where `observeFailures` tells.
class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// Absent when nothing is stored under the key, or nothing of these types.
    [[nodiscard]] virtual std::optional<DefaultsValue> get(std::string_view key) = 0;
    /// Whether anything at all is stored under the key.
    [[nodiscard]] virtual bool contains(std::string_view key) = 0;
    /// Every key with a value of these types.
    [[nodiscard]] virtual std::map<std::string, DefaultsValue> all() = 0;

    [[nodiscard]] virtual std::expected<void, std::string> set(std::string_view key, DefaultsValue value) = 0;
    [[nodiscard]] virtual std::expected<void, std::string> remove(std::string_view key) = 0;

    /// Makes the new value from the old one; an absent new value removes the key.
    using Change = std::function<std::optional<DefaultsValue>(std::optional<DefaultsValue> old)>;
    /// Reads, changes and writes one key while no other process can write. `change` may be kept, and may run more than
    /// once and on another thread: it depends on nothing but what it holds itself, and must not use this store.
    [[nodiscard]] virtual std::expected<void, std::string> update(std::string_view key, const Change& change) = 0;

    using FailureListener = std::function<void(const std::string& key, const std::string& error)>;
    /// Has a change that could not be written after the call returned, and was taken back, told on the main thread.
    [[nodiscard]] virtual Subscription observeFailures(FailureListener /*listener*/) { return {}; }

    /// The value under a key when it has exactly that type.
    template <typename T>
    [[nodiscard]] std::optional<T> getAs(std::string_view key) {
        std::optional<DefaultsValue> value = get(key);
        if (!value || !std::holds_alternative<T>(*value))
            return std::nullopt;
        return std::get<T>(std::move(*value));
    }
};

} // namespace torvo
