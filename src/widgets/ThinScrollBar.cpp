#include "widgets/ThinScrollBar.h"

#include "widgets/Theme.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

namespace torvo {

void ThinScrollBar::paintEvent(QPaintEvent*) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    // Where the style lets the handle be grabbed.
    const QRectF handle = style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    const double opacity = isSliderDown() ? 0.55 : underMouse() ? 0.45 : 0.3;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(toneColor(Tone::primary, palette()), opacity));
    painter.drawRoundedRect(handle.adjusted(2, 0, -1, 0), 2.5, 2.5);
}

} // namespace torvo
