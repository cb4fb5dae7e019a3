#include "commandbar/view/ChipButtonStyle.h"

#include "widgets/Theme.h"

namespace torvo {

void ChipButtonStyle::draw(QPainter& painter, const QRectF& rectangle, const QPalette& palette, Press press) {
    const auto ink = toneColor(Tone::primary, palette);
    const double radius = rectangle.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(ink, press == Press::down ? 0.16 : press == Press::hovered ? 0.11 : 0.08));
    painter.drawRoundedRect(rectangle, radius, radius);
    painter.setPen(QPen(faded(ink, 0.06), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rectangle.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
}

} // namespace torvo
