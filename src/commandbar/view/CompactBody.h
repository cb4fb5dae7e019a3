#pragma once

#include "commandbar/CommandBarState.h"
#include "commandbar/view/LeadingIcon.h"
#include "widgets/ElidedLabel.h"

#include <QAbstractButton>
#include <functional>
#include <string>

namespace torvo {

/// The bar while it is docked without the keyboard: one line, which opens the bar when it is clicked.
class CompactBody final : public QAbstractButton {
  public:
    explicit CompactBody(std::function<void()> open, QWidget* parent = nullptr);

    void present(const CommandBarState& state);
    void showShortcut(const std::string& displayName);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    LeadingIcon* m_icon;
    ElidedLabel* m_status;
    ElidedLabel* m_shortcut;
};

} // namespace torvo
