#pragma once

#include "support/Observable.h"
#include "widgets/SectionBox.h"
#include "windows/settings/SettingsServices.h"

#include <vector>

class QPushButton;

namespace torvo {

class StatusCaption;
class SymbolLabel;
class ToneLabel;

/// The command-line tools that commands may use, and installing those that are missing.
class ToolsSection final : public SectionBox {
  public:
    explicit ToolsSection(const SettingsServices& services);

  private:
    struct Row {
        SymbolLabel* symbol;
        ToneLabel* state;
    };

    void addTool(const ToolHealth& tool);
    void showState();

    SettingsServices m_services;
    QVBoxLayout* m_list;
    std::vector<Row> m_tools;
    QPushButton* m_install;
    StatusCaption* m_status;
    Subscription m_subscription;
};

} // namespace torvo
