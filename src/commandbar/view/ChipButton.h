#pragma once

#include "commandbar/view/ChipButtonStyle.h"
#include "widgets/LabelButton.h"
#include "widgets/Theme.h"

namespace torvo {

/// A suggestion chip.
class ChipButton final : public LabelButton {
  public:
    explicit ChipButton(const QString& label, std::optional<Symbol> symbol = std::nullopt, QWidget* parent = nullptr)
        : LabelButton(label, symbol, ChipButtonStyle::kPadding, parent) {}

  protected:
    void drawBackground(QPainter& painter, const QRectF& rectangle) const override {
        ChipButtonStyle::draw(painter, rectangle, palette(),
                              isDown()       ? Press::down
                              : underMouse() ? Press::hovered
                                             : Press::up);
    }
    [[nodiscard]] QColor labelColor() const override { return toneColor(Tone::primary, palette()); }
    [[nodiscard]] double cornerRadius() const override { return height() / 2.0; }
};

} // namespace torvo
