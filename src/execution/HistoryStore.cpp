#include "execution/HistoryStore.h"

#include "support/Text.h"

namespace torvo {

namespace {

constexpr std::string_view kHistoryKey = "commandHistory";

} // namespace

std::vector<std::string> recorded(std::vector<std::string> items, std::string_view text) {
    const std::string command(trimmed(text, TextTrim::spacesAndLineBreaks));
    if (command.empty())
        return items;
    std::erase_if(items, [&](const std::string& item) { return canonicallyEqual(item, command); });
    items.insert(items.begin(), command);
    return items;
}

HistoryStore::HistoryStore(UserDefaults& defaults)
    : m_defaults(defaults),
      m_items(defaults.getAs<std::vector<std::string>>(kHistoryKey).value_or(std::vector<std::string>{})) {}

std::expected<void, std::string> HistoryStore::record(std::string_view text) {
    if (trimmed(text, TextTrim::spacesAndLineBreaks).empty())
        return {};
    bool isStored = false;
    auto saved = m_defaults.update(kHistoryKey, [&](const std::optional<DefaultsValue>& stored) {
        const auto* items = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
        // Nothing there any more: somebody cleared it.
        if (!stored && m_isStored)
            m_items.clear();
        m_items = recorded(items != nullptr ? *items : m_items, text);
        isStored = true;
        return DefaultsValue(m_items);
    });
    if (!isStored)
        m_items = recorded(std::move(m_items), text);
    m_isStored = saved.has_value();
    return saved;
}

std::expected<void, std::string> HistoryStore::clear() {
    m_items.clear();
    return m_defaults.remove(kHistoryKey);
}

} // namespace torvo
