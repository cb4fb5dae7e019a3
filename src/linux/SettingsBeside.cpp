#include "linux/SettingsBeside.h"

#include <utility>

namespace torvo {

SettingsBeside::SettingsBeside(UserDefaults& stored, SerialQueue& queue, Dispatcher& dispatcher)
    : m_stored(stored), m_queue(queue), m_dispatcher(dispatcher) {}

SettingsBeside::~SettingsBeside() {
    m_queue.sync([] {});
}

std::optional<DefaultsValue> SettingsBeside::get(std::string_view key) {
    {
        const std::lock_guard lock(m_mutex);
        if (const auto pending = m_pending.find(key); pending != m_pending.end())
            return pending->second.value;
    }
    // What was written in between is there by now.
    return m_stored.get(key);
}

bool SettingsBeside::contains(std::string_view key) {
    {
        const std::lock_guard lock(m_mutex);
        if (const auto pending = m_pending.find(key); pending != m_pending.end())
            return pending->second.value.has_value();
    }
    return m_stored.contains(key);
}

std::map<std::string, DefaultsValue> SettingsBeside::all() {
    const std::lock_guard lock(m_mutex);
    auto values = m_stored.all();
    for (const auto& [key, pending] : m_pending) {
        if (pending.value)
            values.insert_or_assign(key, *pending.value);
        else
            values.erase(key);
    }
    return values;
}

std::expected<void, std::string> SettingsBeside::set(std::string_view key, DefaultsValue value) {
    return update(key, [value = std::move(value)](const auto&) { return value; });
}

std::expected<void, std::string> SettingsBeside::remove(std::string_view key) {
    return update(key, [](const auto&) { return std::nullopt; });
}

std::expected<void, std::string> SettingsBeside::update(std::string_view key, const Change& change) {
    const std::lock_guard changing(m_changing);
    auto value = change(get(key));
    std::uint64_t number = 0;
    {
        const std::lock_guard lock(m_mutex);
        number = ++m_changes;
        m_pending.insert_or_assign(std::string(key), Pending{std::move(value), number});
    }
    m_queue.async([this, key = std::string(key), change, number] { write(key, change, number); });
    return {};
}

void SettingsBeside::write(const std::string& key, const Change& change, std::uint64_t number) {
    const auto written = m_stored.update(key, change);
    {
        const std::lock_guard lock(m_mutex);
        if (const auto pending = m_pending.find(key); pending->second.number == number)
            m_pending.erase(pending);
    }
    if (!written)
        m_dispatcher.runOnMain([failures = m_failures, key, error = written.error()] { failures.notify(key, error); });
}

Subscription SettingsBeside::observeFailures(FailureListener listener) {
    return m_failures.add(std::move(listener));
}

} // namespace torvo
