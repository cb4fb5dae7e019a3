#include "widgets/ElidedLabel.h"

#include "widgets/ShownText.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

namespace torvo {

ElidedLabel::ElidedLabel(Tone tone, int size, Qt::TextElideMode mode, QWidget* parent)
    : QLabel(parent), m_tone(tone), m_mode(mode) {
    setTextFormat(Qt::PlainText);
    setFont(systemFont(size));
    // As wide as its text, or less.
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
}

void ElidedLabel::setTone(Tone tone) {
    if (m_tone == tone)
        return;
    m_tone = tone;
    update();
}

QString ElidedLabel::visibleText() const {
    return fontMetrics().elidedText(text(), m_mode, contentsRect().width());
}

QSize ElidedLabel::sizeHint() const {
    const auto metrics = fontMetrics();
    const auto margins = contentsMargins();
    return {metrics.horizontalAdvance(text()) + 1 + margins.left() + margins.right(),
            metrics.height() + margins.top() + margins.bottom()};
}

QSize ElidedLabel::minimumSizeHint() const {
    const auto size = sizeHint();
    const auto margins = contentsMargins();
    const int few = fontMetrics().horizontalAdvance(QStringLiteral("mm…m")) + margins.left() + margins.right();
    return {std::min(size.width(), few), size.height()};
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty() && visibleText() != text()) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()), this);
        return true;
    }
    return QLabel::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(toneColor(m_tone, palette()));
    const auto place = QStyle::visualAlignment(layoutDirection(), alignment());
    painter.drawText(contentsRect(), static_cast<int>(place) | Qt::TextSingleLine, visibleText());
}

} // namespace torvo
