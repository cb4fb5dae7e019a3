#pragma once

#include "desktop/HotKeyConfiguration.h"
#include "support/Observable.h"
#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

class QCheckBox;
class QComboBox;
class QPushButton;

namespace torvo {

class StatusCaption;

/// Software updates, and the global shortcut.
class UpdatesSection final : public SectionBox {
  public:
    explicit UpdatesSection(const SettingsServices& services);

    /// The window opens.
    void appear();

  private:
    void addShortcutEditor();
    void showDraft();
    void showStatus();

    SettingsServices m_services;
    /// What the editor shows; in force only once it is applied.
    HotKeyConfiguration m_draft;
    QCheckBox* m_automatic;
    std::vector<std::pair<QPushButton*, bool HotKeyConfiguration::*>> m_modifiers;
    QComboBox* m_key = nullptr;
    StatusCaption* m_status = nullptr;
    Subscription m_subscription;
};

} // namespace torvo
