#pragma once

#include "platform/Dispatcher.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"
#include "support/Observable.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace torvo {

/// Settings whose changes are seen at once and written beside, one after the other, so that nobody waits for the disk,
/// or for another program that keeps the file locked. A change that cannot be written is taken back.
class SettingsBeside final : public UserDefaults {
  public:
    /// `stored` is written to on `queue`; failures are told on the dispatcher's main thread. All must outlive this.
    SettingsBeside(UserDefaults& stored, SerialQueue& queue, Dispatcher& dispatcher);
    /// Returns when everything is written.
    ~SettingsBeside() override;
    SettingsBeside(const SettingsBeside&) = delete;
    SettingsBeside& operator=(const SettingsBeside&) = delete;

    [[nodiscard]] std::optional<DefaultsValue> get(std::string_view key) override;
    [[nodiscard]] bool contains(std::string_view key) override;
    [[nodiscard]] std::map<std::string, DefaultsValue> all() override;
    [[nodiscard]] std::expected<void, std::string> set(std::string_view key, DefaultsValue value) override;
    [[nodiscard]] std::expected<void, std::string> remove(std::string_view key) override;
    [[nodiscard]] std::expected<void, std::string> update(std::string_view key, const Change& change) override;
    [[nodiscard]] Subscription observeFailures(FailureListener listener) override;

  private:
    /// What stands under a key until it is written.
    struct Pending {
        std::optional<DefaultsValue> value;
        std::uint64_t number = 0;
    };

    void write(const std::string& key, const Change& change, std::uint64_t number);

    UserDefaults& m_stored;
    SerialQueue& m_queue;
    Dispatcher& m_dispatcher;
    ObserversOf<const std::string&, const std::string&> m_failures;
    /// Held during a change, so that changes are queued in the order in which they were made.
    std::mutex m_changing;
    /// Held while the members below are used.
    std::mutex m_mutex;
    std::map<std::string, Pending, std::less<>> m_pending;
    std::uint64_t m_changes = 0;
};

} // namespace torvo
