#pragma once

#include "widgets/LabelButton.h"
#include "widgets/Theme.h"

#include <optional>

namespace torvo {

/// A push button of the small size.
class SmallButton final : public LabelButton {
  public:
    explicit SmallButton(const QString& label, std::optional<Symbol> symbol = std::nullopt, QWidget* parent = nullptr);

    /// Fills the button with a tone, to mark the one that is meant to be pressed.
    void setProminent(Tone tone);
    [[nodiscard]] std::optional<Tone> prominentTone() const { return m_prominent; }

  protected:
    void drawBackground(QPainter& painter, const QRectF& rectangle) const override;
    [[nodiscard]] QColor labelColor() const override;
    [[nodiscard]] double cornerRadius() const override { return 5; }

  private:
    std::optional<Tone> m_prominent;
};

} // namespace torvo
