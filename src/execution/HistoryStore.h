#pragma once

#include "platform/UserDefaults.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// `items` with `text`, trimmed, at the front and nowhere else; unchanged when nothing is left of the text.
[[nodiscard]] std::vector<std::string> recorded(std::vector<std::string> items, std::string_view text);

/// The commands that were submitted, newest first, without duplicates, kept under the settings key "commandHistory".
class HistoryStore {
  public:
    /// Loads the history. `defaults` must outlive the store.
    explicit HistoryStore(UserDefaults& defaults);
    HistoryStore(const HistoryStore&) = delete;
    HistoryStore& operator=(const HistoryStore&) = delete;

    [[nodiscard]] const std::vector<std::string>& items() const { return m_items; }
    /// Remembers a command, on top of what is stored by now. The error is the line of the settings store; one that is
    /// not stored is remembered in memory alone.
    std::expected<void, std::string> record(std::string_view text);
    /// Forgets everything, also what is stored. The error is as above; memory is emptied in any case.
    std::expected<void, std::string> clear();

  private:
    [[nodiscard]] std::vector<std::string> stored() const;

    UserDefaults& m_defaults;
    std::vector<std::string> m_items;
    /// Whether the settings have all of them.
    bool m_isStored = true;
    Subscription m_failures;
};

} // namespace torvo
