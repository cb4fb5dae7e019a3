#include "widgets/LabelButton.h"

#include "widgets/Theme.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kFontSize = 11;
constexpr int kSymbolSize = 11;
constexpr int kSymbolGap = 4;
constexpr int kWidestLabel = 260;

} // namespace

LabelButton::LabelButton(const QString& label, std::optional<Symbol> symbol, const QMargins& padding, QWidget* parent)
    : QPushButton(parent), m_symbol(symbol), m_padding(padding) {
    setFont(systemFont(kFontSize));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setLabel(label);
}

void LabelButton::setLabel(const QString& label) {
    if (label == m_label && !text().isEmpty())
        return;
    m_label = label;
    // The text is what assistive technology reads; an ampersand in it would make a shortcut.
    setText(QString(label).replace(u'&', QStringLiteral("&&")));
    updateGeometry();
    update();
}

QSize LabelButton::sizeHint() const {
    const auto metrics = fontMetrics();
    const int width = std::min(metrics.horizontalAdvance(m_label) + 1, kWidestLabel);
    return QSize(width + (m_symbol ? kSymbolSize + kSymbolGap : 0), metrics.height()).grownBy(m_padding);
}

void LabelButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole(rect());
    drawBackground(painter, whole);

    const auto color = isEnabled() ? labelColor() : faded(labelColor(), 0.4);
    auto inner = whole.marginsRemoved(m_padding);
    if (m_symbol) {
        drawSymbol(painter, *m_symbol, {inner.left(), inner.center().y() - kSymbolSize / 2.0, kSymbolSize, kSymbolSize},
                   color);
        inner.setLeft(inner.left() + kSymbolSize + kSymbolGap);
    }
    painter.setFont(font());
    painter.setPen(color);
    painter.drawText(inner, Qt::AlignCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(m_label, Qt::ElideRight, static_cast<int>(inner.width())));

    if (hasFocus()) {
        painter.setPen(QPen(toneColor(Tone::accent, palette()), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(whole.adjusted(1, 1, -1, -1), cornerRadius() - 1, cornerRadius() - 1);
    }
}

void LabelButton::keyPressEvent(QKeyEvent* event) {
    // A key that is held down presses once.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat())
            click();
        return;
    }
    QPushButton::keyPressEvent(event);
}

} // namespace torvo
