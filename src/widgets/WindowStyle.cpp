#include "widgets/WindowStyle.h"

#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <QPushButton>
#include <QScrollBar>
#include <QStyleOptionComboBox>
#include <QStyleOptionSlider>
#include <algorithm>

namespace torvo {

namespace {

constexpr double kCornerRadius = 5;
constexpr double kBoxRadius = 3.5;
/// Of the ink: edges of what is typed into or checked stand out 3:1 from the window, as WCAG 2.1 (1.4.11) asks.
constexpr double kFieldEdge = 0.5;
constexpr double kDisabled = 0.5;
/// Between a check box's label and the mark of the keyboard around it.
constexpr int kFocusGap = 3;
constexpr int kScrollBarExtent = 8;
constexpr int kShortestHandle = 24;
constexpr double kChevronWidth = 8;
constexpr double kChevronHeight = 4;
constexpr double kChevronInset = 9;

QRectF inPixels(const QRectF& area) {
    return area.adjusted(0.5, 0.5, -0.5, -0.5);
}

QColor ink(const QPalette& palette) {
    return toneColor(Tone::primary, palette);
}

void drawFocus(QPainter& painter, const QRectF& area, const QPalette& palette, double radius) {
    painter.setPen(QPen(toneColor(Tone::accent, palette), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}

void drawButton(QPainter& painter, const QStyleOption& option) {
    const QRectF area(option.rect);
    painter.setOpacity(option.state & QStyle::State_Enabled ? 1 : kDisabled);
    drawButtonBody(painter, area, option.palette, pressOf(option.state));
    painter.setOpacity(1);
    if ((option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_KeyboardFocusChange))
        drawFocus(painter, area, option.palette, kCornerRadius);
}

void drawField(QPainter& painter, const QStyleOption& option) {
    const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(&option);
    if (frame == nullptr || frame->lineWidth == 0)
        return;
    const bool isEnabled = option.state & QStyle::State_Enabled;
    painter.setPen(QPen(faded(ink(option.palette), kFieldEdge * (isEnabled ? 1 : kDisabled)), 1));
    painter.setBrush(option.palette.color(QPalette::Base));
    painter.drawRoundedRect(inPixels(option.rect), kCornerRadius, kCornerRadius);
    if (option.state & QStyle::State_HasFocus)
        drawFocus(painter, option.rect, option.palette, kCornerRadius);
}

void drawCheckBox(QPainter& painter, const QStyleOption& option) {
    const auto area = inPixels(option.rect);
    const bool isChecked = option.state & QStyle::State_On;
    const auto accent = toneColor(Tone::accent, option.palette);
    painter.setOpacity(option.state & QStyle::State_Enabled ? 1 : kDisabled);
    painter.setPen(QPen(isChecked ? accent : faded(ink(option.palette), kFieldEdge), 1));
    painter.setBrush(isChecked ? accent : option.palette.color(QPalette::Base));
    painter.drawRoundedRect(area, kBoxRadius, kBoxRadius);
    if (isChecked)
        drawSymbol(painter, Symbol::checkmark, area.adjusted(1, 1, -1, -1),
                   isDark(option.palette) ? Qt::black : Qt::white);
}

void drawChevron(QPainter& painter, const QStyleOption& option) {
    const bool isMirrored = option.direction == Qt::RightToLeft;
    const double left =
        isMirrored ? option.rect.left() + kChevronInset : option.rect.right() - kChevronInset - kChevronWidth;
    const double top = option.rect.center().y() - kChevronHeight / 2 + 1;
    painter.setPen(QPen(toneColor(Tone::secondary, option.palette), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(
        QPolygonF{{left, top}, {left + kChevronWidth / 2, top + kChevronHeight}, {left + kChevronWidth, top}});
}

void drawHandle(QPainter& painter, const QStyleOption& option, const QRectF& handle) {
    const double opacity = option.state & QStyle::State_Sunken      ? 0.55
                           : option.state & QStyle::State_MouseOver ? 0.45
                                                                    : 0.3;
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(ink(option.palette), opacity));
    const bool isUpright = handle.height() > handle.width();
    painter.drawRoundedRect(isUpright ? handle.adjusted(2, 1, -1, -1) : handle.adjusted(1, 2, -1, -1), 2.5, 2.5);
}

/// The parts of a scroll bar without arrows.
QRect scrollBarPart(const QStyleOptionSlider& bar, QStyle::SubControl part) {
    const bool isUpright = bar.orientation == Qt::Vertical;
    const int length = isUpright ? bar.rect.height() : bar.rect.width();
    const qint64 range = qint64(bar.maximum) - bar.minimum;
    const auto share = qint64(length) * bar.pageStep / std::max<qint64>(range + bar.pageStep, 1);
    const int handle = range <= 0 ? length : std::min(length, std::max(kShortestHandle, static_cast<int>(share)));
    const int start =
        QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, length - handle, bar.upsideDown);
    const auto between = [&](int from, int to) {
        return isUpright ? QRect(bar.rect.left(), bar.rect.top() + from, bar.rect.width(), to - from)
                         : QRect(bar.rect.left() + from, bar.rect.top(), to - from, bar.rect.height());
    };
    switch (part) {
    case QStyle::SC_ScrollBarSlider:
        return between(start, start + handle);
    case QStyle::SC_ScrollBarSubPage:
        return between(0, start);
    case QStyle::SC_ScrollBarAddPage:
        return between(start + handle, length);
    case QStyle::SC_ScrollBarGroove:
        return bar.rect;
    default:
        return {};
    }
}

} // namespace

Press pressOf(QStyle::State state) {
    if (state & (QStyle::State_Sunken | QStyle::State_On))
        return Press::down;
    return state & QStyle::State_MouseOver && state & QStyle::State_Enabled ? Press::hovered : Press::up;
}

void drawButtonBody(QPainter& painter, const QRectF& area, const QPalette& palette, Press press) {
    const bool dark = isDark(palette);
    const auto body = dark                      ? faded(ink(palette), press == Press::down      ? 0.24
                                                                      : press == Press::hovered ? 0.19
                                                                                                : 0.14)
                      : press == Press::down    ? QColor(0xDD, 0xDD, 0xE0)
                      : press == Press::hovered ? QColor(0xF6, 0xF6, 0xF8)
                                                : QColor(Qt::white);
    painter.setPen(QPen(faded(ink(palette), dark ? 0.12 : 0.18), 1));
    painter.setBrush(body);
    painter.drawRoundedRect(inPixels(area), kCornerRadius, kCornerRadius);
}

WindowStyle::WindowStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void WindowStyle::polish(QPalette& palette) {
    QProxyStyle::polish(palette);
    // Buttons have the window's colours here, whatever the desktop's are.
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        palette.setColor(group, QPalette::ButtonText, palette.color(group, QPalette::WindowText));
}

void WindowStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    // What is beneath shows through beside the handle.
    if (qobject_cast<QScrollBar*>(widget) != nullptr)
        widget->setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void WindowStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (element) {
    case PE_PanelButtonCommand:
        drawButton(*painter, *option);
        break;
    case PE_PanelLineEdit:
        drawField(*painter, *option);
        break;
    case PE_IndicatorCheckBox:
        drawCheckBox(*painter, *option);
        break;
    case PE_FrameFocusRect:
        // A button's body shows it.
        if (qobject_cast<const QPushButton*>(widget) == nullptr && (option->state & State_KeyboardFocusChange))
            drawFocus(*painter, option->rect, option->palette, kCornerRadius);
        break;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
    painter->restore();
}

void WindowStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                     const QWidget* widget) const {
    const auto* bar = control == CC_ScrollBar ? qstyleoption_cast<const QStyleOptionSlider*>(option) : nullptr;
    const auto* box = control == CC_ComboBox ? qstyleoption_cast<const QStyleOptionComboBox*>(option) : nullptr;
    if (bar == nullptr && (box == nullptr || box->editable))
        return QProxyStyle::drawComplexControl(control, option, painter, widget);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (bar != nullptr) {
        drawHandle(*painter, *bar, scrollBarPart(*bar, SC_ScrollBarSlider));
    } else {
        drawButton(*painter, *box);
        drawChevron(*painter, *box);
    }
    painter->restore();
}

QRect WindowStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                  const QWidget* widget) const {
    if (const auto* bar = control == CC_ScrollBar ? qstyleoption_cast<const QStyleOptionSlider*>(option) : nullptr)
        return scrollBarPart(*bar, part);
    return QProxyStyle::subControlRect(control, option, part, widget);
}

QRect WindowStyle::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    const auto area = QProxyStyle::subElementRect(element, option, widget);
    if (element != SE_CheckBoxFocusRect)
        return area;
    return area.adjusted(-kFocusGap, -1, kFocusGap, 1).intersected(option->rect);
}

QSize WindowStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                                    const QWidget* widget) const {
    const auto size = QProxyStyle::sizeFromContents(type, option, content, widget);
    return type == CT_CheckBox ? size + QSize(kFocusGap, 0) : size;
}

int WindowStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_ScrollBarExtent:
        return kScrollBarExtent;
    case PM_ScrollBarSliderMin:
        return kShortestHandle;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

} // namespace torvo
