#pragma once

#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

class QCheckBox;

namespace torvo {

class StatusCaption;

/// The local log and the history.
class PrivacySection final : public SectionBox {
  public:
    explicit PrivacySection(const SettingsServices& services);

    void appear();
    /// Shows a line about the user's data.
    void say(const std::string& status);

  private:
    void setLogging(bool isOn);
    void loggingNotStored(const std::string& error);
    void revealLog();
    void clearLog();
    void clearHistory();

    SettingsServices m_services;
    QCheckBox* m_logging;
    StatusCaption* m_status;
    Subscription m_failures;
};

} // namespace torvo
