#include "widgets/Buttons.h"

#include "widgets/ShownText.h"

#include <QStyleOptionButton>
#include <QStylePainter>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kSmallSize = 11;
constexpr int kLabelInset = 8;
constexpr int kButtonPadding = 12;
constexpr double kCornerRadius = 5;
/// In percent, as Qt counts them.
constexpr int kPressedDarkness = 115;
constexpr int kHoverLightness = 108;

/// The size of a button whose label keeps its distance from the edges.
QSize paddedHint(const QPushButton& button, QSize natural) {
    const auto label = button.fontMetrics().size(Qt::TextShowMnemonic, button.text());
    natural.setWidth(std::max(natural.width(), label.width() + 2 * kButtonPadding));
    return natural;
}

class PaddedButton final : public QPushButton {
  public:
    using QPushButton::QPushButton;
    [[nodiscard]] QSize sizeHint() const override { return paddedHint(*this, QPushButton::sizeHint()); }
};

} // namespace

QPushButton* makeButton(const QString& title) {
    auto* button = new PaddedButton(title);
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return button;
}

QPushButton* makeSmallButton(const QString& title) {
    auto* button = makeButton(title);
    button->setFont(systemFont(kSmallSize));
    return button;
}

void showChecked(QAbstractButton& button, bool isChecked) {
    const QSignalBlocker quiet(button);
    button.setChecked(isChecked);
}

QSize LeadingButton::sizeHint() const {
    const auto natural = QPushButton::sizeHint();
    return {fontMetrics().horizontalAdvance(text()) + 2 * kLabelInset + 2, natural.height()};
}

void LeadingButton::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();
    painter.drawControl(QStyle::CE_PushButton, option);
    const auto area = rect().adjusted(kLabelInset, 0, -kLabelInset, 0);
    painter.setFont(font());
    painter.drawItemText(area, static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter), palette(), isEnabled(),
                         fontMetrics().elidedText(text(), Qt::ElideRight, area.width()), QPalette::ButtonText);
}

AccentButton::AccentButton(const QString& title, Filled filled) : QPushButton(title), m_filled(filled) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCheckable(filled == Filled::whileChecked);
}

QSize AccentButton::sizeHint() const {
    return paddedHint(*this, QPushButton::sizeHint());
}

void AccentButton::paintEvent(QPaintEvent* event) {
    if (m_filled == Filled::whileChecked && !isChecked())
        return QPushButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool dark = isDark(palette());
    auto fill = toneColor(Tone::accent, palette());
    if (isDown())
        fill = fill.darker(kPressedDarkness);
    else if (underMouse())
        fill = fill.lighter(kHoverLightness);
    // As large as the bordered buttons beside it.
    const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(fill.darker(kPressedDarkness), 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(outline, kCornerRadius, kCornerRadius);
    const QColor text = dark ? Qt::black : Qt::white;
    if (hasFocus()) {
        painter.setPen(QPen(text, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(outline.adjusted(2.5, 2.5, -2.5, -2.5), kCornerRadius - 2, kCornerRadius - 2);
    }
    painter.setPen(text);
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter, this->text());
}

SymbolButton::SymbolButton(Symbol symbol, Tone tone, const QString& spokenName) : m_symbol(symbol), m_tone(tone) {
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(spokenName);
    explain(*this, spokenName);
}

void SymbolButton::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
    QRectF square({}, QSizeF(iconSize()));
    square.moveCenter(QRectF(rect()).center());
    drawSymbol(painter, m_symbol, square, toneColor(m_tone, palette()));
}

} // namespace torvo
