#pragma once

#include "commandbar/CommandBarState.h"
#include "commandbar/view/PreviewList.h"
#include "widgets/ElidedLabel.h"
#include "widgets/SmallButton.h"

#include <QWidget>
#include <functional>

namespace torvo {

/// Asks for the yes to what is pending: the preview, the two buttons and the keys that do the same.
class ConfirmationRow final : public QWidget {
  public:
    ConfirmationRow(std::function<void()> confirm, std::function<void()> cancel, QWidget* parent = nullptr);

    /// Changes nothing when the state awaits no confirmation.
    void present(const CommandBarState& state);

  private:
    PreviewList* m_preview;
    SmallButton* m_primary;
    ElidedLabel* m_hint;
};

} // namespace torvo
