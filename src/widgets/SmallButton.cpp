#include "widgets/SmallButton.h"

#include "widgets/WindowStyle.h"

#include <QPainter>

namespace torvo {

namespace {

/// White can be read on these in light and in dark palettes.
QColor prominentFill(Tone tone) {
    return tone == Tone::failure ? QColor(0xC4, 0x1E, 0x1E) : QColor(0x00, 0x5F, 0xCC);
}

} // namespace

SmallButton::SmallButton(const QString& label, std::optional<Symbol> symbol, QWidget* parent)
    : LabelButton(label, symbol, {10, 3, 10, 4}, parent) {}

void SmallButton::setProminent(Tone tone) {
    if (m_prominent == tone)
        return;
    m_prominent = tone;
    update();
}

QColor SmallButton::labelColor() const {
    return m_prominent ? QColor(Qt::white) : toneColor(Tone::primary, palette());
}

void SmallButton::drawBackground(QPainter& painter, const QRectF& rectangle) const {
    if (m_prominent) {
        auto fill = prominentFill(*m_prominent);
        if (!isEnabled())
            fill = faded(fill, 0.5);
        else if (isDown())
            fill = fill.darker(125);
        else if (underMouse())
            fill = fill.darker(108);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(rectangle, cornerRadius(), cornerRadius());
        return;
    }
    drawButtonBody(painter, rectangle, palette(), isDown() ? Press::down : underMouse() ? Press::hovered : Press::up);
}

} // namespace torvo
