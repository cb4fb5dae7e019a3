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
      m_items(stored()),
      m_failures(defaults.observeFailures([this](const auto& key, const auto&) {
          if (key == kHistoryKey)
              m_isStored = false;
      })) {}

std::vector<std::string> HistoryStore::stored() const {
    return m_defaults.getAs<std::vector<std::string>>(kHistoryKey).value_or(std::vector<std::string>{});
}

std::expected<void, std::string> HistoryStore::record(std::string_view text) {
    if (trimmed(text, TextTrim::spacesAndLineBreaks).empty())
        return {};
    auto saved = m_defaults.update(kHistoryKey, [command = std::string(text), known = m_items,
                                                 isStored = m_isStored](const std::optional<DefaultsValue>& stored) {
        // Nothing there any more: somebody cleared it.
        if (!stored && isStored)
            return DefaultsValue(recorded({}, command));
        const auto* items = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
        return DefaultsValue(recorded(items != nullptr ? *items : known, command));
    });
    m_items = saved ? stored() : recorded(std::move(m_items), text);
    m_isStored = saved.has_value();
    return saved;
}

std::expected<void, std::string> HistoryStore::clear() {
    m_items.clear();
    return m_defaults.remove(kHistoryKey);
}

} // namespace torvo
