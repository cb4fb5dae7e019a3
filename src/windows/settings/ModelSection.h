#pragma once

#include "support/Observable.h"
#include "widgets/SectionBox.h"
#include "windows/ModelOffer.h"
#include "windows/settings/SettingsServices.h"

class QPushButton;

namespace torvo {

class SymbolLabel;
class ToneLabel;

/// The way to a local model, one step at a time.
class ModelSection final : public SectionBox {
  public:
    explicit ModelSection(const SettingsServices& services);

    /// Shows what the service and the stored endpoint say now.
    void showState();

  private:
    SettingsServices m_services;
    ModelOffer m_offer = ModelOffer::ready;
    SymbolLabel* m_symbol;
    ToneLabel* m_status;
    QPushButton* m_accept;
    Subscription m_subscription;
};

} // namespace torvo
