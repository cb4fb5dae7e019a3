#pragma once

#include "platform/UserDefaults.h"
#include "support/UUID.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A user's own shortcut: a phrase that stands for a longer command.
struct Rule {
    UUID id;
    /// As typed, trimmed.
    std::string trigger;
    std::string expansion;

    bool operator==(const Rule&) const = default;
};

/// The expansion of the first rule whose trigger is the whole input, white space around it and case aside; absent when
/// none is. Expansions are not looked up again.
[[nodiscard]] std::optional<std::string> expansionFor(std::string_view input, const std::vector<Rule>& rules);

constexpr std::string_view kRulesKey = "rules";

/// The user's rules in the order in which they were added, kept in the settings.
class RulesStore {
  public:
    /// Loads the rules; a stored value that is no list of complete rules counts as none. `defaults` must outlive the
    /// store.
    explicit RulesStore(UserDefaults& defaults);

    [[nodiscard]] const std::vector<Rule>& rules() const { return m_rules; }
    /// The same as `expansionFor` on the loaded rules.
    [[nodiscard]] std::optional<std::string> expansion(std::string_view input) const;

    /// Adds a rule at the end and saves. Does nothing when a text is blank. Rules that another process saved meanwhile
    /// are kept. The error is the line of the settings store; the rule then stays in memory alone.
    std::expected<void, std::string> add(std::string_view trigger, std::string_view expansion);
    /// Removes every rule of that identity and saves.
    std::expected<void, std::string> remove(const UUID& id);

  private:
    UserDefaults& m_defaults;
    std::vector<Rule> m_rules;
};

} // namespace torvo
