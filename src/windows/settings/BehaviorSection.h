#pragma once

#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

class QCheckBox;

namespace torvo {

/// Starting at login, and asking before every command.
class BehaviorSection final : public SectionBox {
  public:
    BehaviorSection(const SettingsServices& services, Report report);

    void appear();

  private:
    void setLaunchAtLogin(bool isOn);
    void showApproval(LoginItemStatus status);
    void setDryRun(bool isOn);
    void dryRunNotStored(const std::string& error);

    SettingsServices m_services;
    Report m_report;
    QCheckBox* m_launchAtLogin;
    QWidget* m_approval;
    QCheckBox* m_dryRun;
    Subscription m_failures;
};

} // namespace torvo
