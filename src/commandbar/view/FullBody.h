#pragma once

#include "commandbar/CommandBarService.h"
#include "commandbar/view/ChipsRow.h"
#include "commandbar/view/CommandTextField.h"
#include "commandbar/view/ConfirmationRow.h"
#include "commandbar/view/LeadingIcon.h"
#include "commandbar/view/ResultRow.h"
#include "commandbar/view/StatusText.h"
#include "desktop/CommandBarPanel.h"

#include <QWidget>

namespace torvo {

/// The bar while it has the keyboard: the input line, the status and the one row that belongs to the situation.
class FullBody final : public QWidget {
  public:
    FullBody(CommandBarService& service, CommandBarPanel& panel, QWidget* parent = nullptr);

    void present(const CommandBarState& state);
    [[nodiscard]] CommandTextField& field() { return *m_field; }

  private:
    void showRow(const CommandBarState& state);

    LeadingIcon* m_icon;
    CommandTextField* m_field;
    StatusText* m_status;
    ConfirmationRow* m_confirmation;
    ResultRow* m_results;
    QWidget* m_askAI;
    ChipsRow* m_chips;
};

} // namespace torvo
