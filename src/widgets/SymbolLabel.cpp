#include "widgets/SymbolLabel.h"

#include <QPainter>

namespace torvo {

namespace {

constexpr int kBadgeSide = 22;
constexpr int kBadgeSymbolSide = 13;
constexpr int kBadgeTextSize = 11;
constexpr double kBadgeFill = 0.16;

} // namespace

SymbolLabel::SymbolLabel(Symbol symbol, Tone tone, int side) : m_symbol(symbol), m_tone(tone) {
    setFixedSize(side, side);
}

void SymbolLabel::setSymbol(Symbol symbol, Tone tone) {
    m_symbol = symbol;
    m_tone = tone;
    update();
}

void SymbolLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    drawSymbol(painter, m_symbol, rect(), toneColor(m_tone, palette()));
}

NumberBadge::NumberBadge(int number) : m_number(number) {
    setFixedSize(kBadgeSide, kBadgeSide);
    setDone(false);
}

void NumberBadge::setDone(bool isDone) {
    m_isDone = isDone;
    setAccessibleName(isDone ? QStringLiteral("Granted") : QString::number(m_number));
    update();
}

void NumberBadge::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto color = toneColor(m_isDone ? Tone::success : Tone::secondary, palette());
    auto fill = color;
    fill.setAlphaF(kBadgeFill);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawEllipse(rect());
    if (m_isDone) {
        QRectF square(0, 0, kBadgeSymbolSide, kBadgeSymbolSide);
        square.moveCenter(QRectF(rect()).center());
        drawSymbol(painter, Symbol::checkmark, square, color);
        return;
    }
    auto font = systemFont(kBadgeTextSize);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(rect(), Qt::AlignCenter, QString::number(m_number));
}

} // namespace torvo
