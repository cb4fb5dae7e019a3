#include "widgets/ScrollingRow.h"

#include "widgets/TabOrder.h"
#include "widgets/Theme.h"

#include <QEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>

namespace torvo {

/// Lies over one end of the row and lets it fade into the background.
class ScrollingRow::Fade final : public QWidget {
  public:
    static constexpr int kWidth = 22;

    Fade(Qt::Edge edge, QWidget* parent) : QWidget(parent), m_edge(edge) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto color = palette().color(QPalette::Window);
        QLinearGradient gradient(rect().topLeft(), rect().topRight());
        gradient.setColorAt(m_edge == Qt::LeftEdge ? 0 : 1, color);
        gradient.setColorAt(m_edge == Qt::LeftEdge ? 1 : 0, faded(color, 0));
        painter.fillRect(rect(), gradient);
    }

  private:
    Qt::Edge m_edge;
};

ScrollingRow::ScrollingRow(int spacing, int bottomPadding, QWidget* parent)
    : QScrollArea(parent),
      m_row(new QHBoxLayout),
      m_leftFade(new Fade(Qt::LeftEdge, this)),
      m_rightFade(new Fade(Qt::RightEdge, this)) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    auto* content = new QWidget;
    m_row->setContentsMargins(0, 0, 0, bottomPadding);
    m_row->setSpacing(spacing);
    m_row->addStretch(1);
    content->setLayout(m_row);
    setWidget(content);
    // Both fill themselves otherwise.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    content->installEventFilter(this);
    followKeyboard(*this);
    QObject::connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, [this] { placeFades(); });
    QObject::connect(horizontalScrollBar(), &QScrollBar::rangeChanged, this, [this] { placeFades(); });
}

void ScrollingRow::addWidget(QWidget* widget) {
    m_row->insertWidget(m_row->count() - 1, widget);
}

void ScrollingRow::scrollToStart() {
    horizontalScrollBar()->setValue(horizontalScrollBar()->minimum());
}

void ScrollingRow::settle() {
    m_row->invalidate();
    m_row->activate();
    // The scroll bar follows the size of what it scrolls.
    widget()->resize(std::max(viewport()->width(), m_row->minimumSize().width()), viewport()->height());
}

QSize ScrollingRow::sizeHint() const {
    return m_row->sizeHint();
}

void ScrollingRow::wheelEvent(QWheelEvent* event) {
    const auto delta = event->pixelDelta().isNull() ? event->angleDelta() / 2 : event->pixelDelta();
    const int distance = std::abs(delta.x()) > std::abs(delta.y()) ? delta.x() : delta.y();
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() - distance);
    event->accept();
}

void ScrollingRow::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    placeFades();
}

bool ScrollingRow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}

void ScrollingRow::placeFades() {
    const auto* bar = horizontalScrollBar();
    m_leftFade->setGeometry(0, 0, Fade::kWidth, height());
    m_rightFade->setGeometry(width() - Fade::kWidth, 0, Fade::kWidth, height());
    m_leftFade->setVisible(bar->value() > bar->minimum());
    m_rightFade->setVisible(bar->value() < bar->maximum());
    m_leftFade->raise();
    m_rightFade->raise();
}

} // namespace torvo
