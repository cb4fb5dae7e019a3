#pragma once

#include "windows/settings/SettingsServices.h"

#include <QWidget>

namespace torvo {

class BehaviorSection;
class PrivacySection;
class RulesSection;
class UpdatesSection;

/// All preferences, in one form that scrolls.
class SettingsView final : public QWidget {
  public:
    explicit SettingsView(const SettingsServices& services);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    SettingsServices m_services;
    UpdatesSection* m_updates;
    BehaviorSection* m_behavior;
    RulesSection* m_rules;
    PrivacySection* m_privacy;
};

} // namespace torvo
