#include "widgets/ToneLabel.h"

#include "widgets/ShownText.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QHelpEvent>
#include <QPainter>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace torvo {

namespace {

/// How wide a text that wraps would like to be.
constexpr int kComfortableWidth = 360;
/// What room a text needs to be a text at all.
constexpr int kLeastWidth = 48;
/// How many widths a text is remembered in.
constexpr std::size_t kKnownWidths = 8;

} // namespace

ToneLabel::ToneLabel(const QString& text, TextStyle style, Tone tone) : m_tone(tone) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setFont(styleFont(style));
    setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    setText(text);
    applyTone();
}

void ToneLabel::setTone(Tone tone) {
    m_tone = tone;
    applyTone();
}

void ToneLabel::setMaximumLines(int count) {
    m_maximumLines = count;
    m_measured.clear();
    updateGeometry();
    update();
}

void ToneLabel::applyTone() {
    if (m_tone == Tone::primary) {
        if (testAttribute(Qt::WA_SetPalette))
            setPalette({});
        return;
    }
    const auto color = toneColor(m_tone, palette());
    if (palette().color(QPalette::WindowText) == color)
        return;
    QPalette toned;
    toned.setColor(QPalette::WindowText, color);
    setPalette(toned);
}

ToneLabel::Shape ToneLabel::layOut(qreal width, QPainter* painter, QPointF origin) const {
    QString content = text();
    content.replace('\n', QChar::LineSeparator);
    QTextOption option(alignment() & Qt::AlignHorizontal_Mask);
    option.setTextDirection(layoutDirection());
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(content, font());
    layout.setTextOption(option);
    Shape shape;
    layout.beginLayout();
    for (int number = 1;; ++number) {
        auto line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        line.setPosition({0, shape.size.height()});
        const bool isLast = number == m_maximumLines && line.textStart() + line.textLength() < content.size();
        if (painter != nullptr && !isLast)
            line.draw(painter, origin);
        if (isLast && painter != nullptr) {
            const auto rest = QFontMetricsF(font()).elidedText(content.mid(line.textStart()), Qt::ElideRight, width);
            const QRectF box(origin + QPointF(0, shape.size.height()), QSizeF(width, line.height()));
            painter->drawText(box, static_cast<int>(alignment() & Qt::AlignHorizontal_Mask) | Qt::TextSingleLine, rest);
        }
        shape.size = {std::max(shape.size.width(), line.naturalTextWidth()), shape.size.height() + line.height()};
        if (isLast) {
            shape.isTruncated = true;
            break;
        }
    }
    layout.endLayout();
    return shape;
}

QSizeF ToneLabel::measure(int width) const {
    if (m_measuredText != text()) {
        m_measured.clear();
        m_measuredText = text();
    }
    const auto known = std::ranges::find(m_measured, width, &std::pair<int, QSizeF>::first);
    if (known != m_measured.end())
        return known->second;
    if (m_measured.size() >= kKnownWidths)
        m_measured.clear();
    return m_measured.emplace_back(width, layOut(width).size).second;
}

int ToneLabel::heightForWidth(int width) const {
    const auto margins = contentsMargins();
    const auto size = measure(std::max(1, width - margins.left() - margins.right()));
    return static_cast<int>(std::ceil(size.height())) + margins.top() + margins.bottom();
}

QSize ToneLabel::sizeHint() const {
    // Without a limit of lines the width is that of a paragraph, with one that of the line.
    const auto natural = measure(m_maximumLines == 1 ? QWIDGETSIZE_MAX : kComfortableWidth);
    const int width =
        static_cast<int>(std::ceil(natural.width())) + 1 + contentsMargins().left() + contentsMargins().right();
    return {width, heightForWidth(width)};
}

QSize ToneLabel::minimumSizeHint() const {
    return {std::min(kLeastWidth, sizeHint().width()), heightForWidth(QWIDGETSIZE_MAX)};
}

void ToneLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(palette().color(foregroundRole()));
    const QRectF area = contentsRect();
    const auto spare = area.height() - measure(contentsRect().width()).height();
    const auto offset = alignment() & Qt::AlignTop ? 0 : std::max(0.0, std::round(spare / 2));
    layOut(area.width(), &painter, area.topLeft() + QPointF(0, offset));
}

void ToneLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        applyTone();
    if (event->type() == QEvent::FontChange || event->type() == QEvent::LayoutDirectionChange)
        m_measured.clear();
    QLabel::changeEvent(event);
}

bool ToneLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && layOut(contentsRect().width()).isTruncated) {
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()), this);
        return true;
    }
    return QLabel::event(event);
}

StatusCaption::StatusCaption(Tone tone) : ToneLabel({}, TextStyle::caption, tone) {
    setVisible(false);
}

void StatusCaption::say(std::string_view status, Tone tone) {
    setTone(tone);
    setText(shownParagraph(status));
    setVisible(!status.empty());
}

} // namespace torvo
