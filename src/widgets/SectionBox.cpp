#include "widgets/SectionBox.h"

#include "widgets/TabOrder.h"
#include "widgets/Theme.h"
#include "widgets/ToneLabel.h"

#include <QPainter>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kTitleSpacing = 6;
constexpr int kRowSpacing = 10;
constexpr int kPanelPadding = 12;
constexpr double kCornerRadius = 8;
constexpr double kEdgeStrength = 0.14;

} // namespace

void FormPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    auto edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(kEdgeStrength);
    painter.setPen(QPen(edge, 1));
    // On a dark window the fields are what stands out, not the panel.
    painter.setBrush(isDark(palette()) ? Qt::NoBrush : QBrush(palette().color(QPalette::Base)));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius, kCornerRadius);
}

SectionBox::SectionBox(const QString& title) {
    setAccessibleName(title);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kTitleSpacing);
    column->addWidget(new ToneLabel(title, TextStyle::headline));
    auto* panel = new FormPanel;
    column->addWidget(panel);
    m_rows = new QVBoxLayout(panel);
    m_rows->setContentsMargins(kPanelPadding, kPanelPadding, kPanelPadding, kPanelPadding);
    m_rows->setSpacing(kRowSpacing);
}

QHBoxLayout& SectionBox::addRow() {
    auto* row = new QHBoxLayout;
    row->setSpacing(kSideSpacing);
    m_rows->addLayout(row);
    return *row;
}

ScrollColumn::ScrollColumn(int spacing, const QMargins& padding) : m_padding(padding) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    auto* content = new QWidget;
    m_column = new QVBoxLayout(content);
    m_column->setContentsMargins(padding);
    m_column->setSpacing(spacing);
    setWidget(content);
    // The window shows through.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    followKeyboard(*this);
}

void ScrollColumn::resizeEvent(QResizeEvent* event) {
    auto padding = m_padding;
    padding.setRight(std::max(0, m_padding.right() - (width() - viewport()->width())));
    m_column->setContentsMargins(padding);
    QScrollArea::resizeEvent(event);
}

} // namespace torvo
