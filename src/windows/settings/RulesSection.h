#pragma once

#include "planning/RulesStore.h"
#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

#include <memory>
#include <string_view>

class QLineEdit;
class QPushButton;

namespace torvo {

class StatusCaption;

/// Whether a rule can be made of these texts: neither is blank.
[[nodiscard]] bool canAddRule(std::string_view trigger, std::string_view expansion);

/// The user's own shortcuts: a list, and a row that adds to it.
class RulesSection final : public SectionBox {
  public:
    explicit RulesSection(const SettingsServices& services);

    void appear();

  private:
    void addRuleFields();
    [[nodiscard]] QWidget* makeRuleRow(const Rule& rule);
    void showRules();
    void updateAdd();
    void add();
    void remove(const UUID& rule);
    void showResult(const std::expected<void, std::string>& saved);

    SettingsServices m_services;
    /// Read afresh whenever the window opens.
    std::unique_ptr<RulesStore> m_store;
    QVBoxLayout* m_list;
    QLineEdit* m_trigger = nullptr;
    QLineEdit* m_expansion = nullptr;
    QPushButton* m_add = nullptr;
    StatusCaption* m_status;
    Subscription m_failures;
};

} // namespace torvo
