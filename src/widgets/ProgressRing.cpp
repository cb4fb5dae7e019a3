#include "widgets/ProgressRing.h"

#include "widgets/Theme.h"

#include <QPainter>
#include <QTimerEvent>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kSteps = 1000;
constexpr int kFrameTime = 33;
constexpr qint64 kTurnTime = 900;
/// Angles of a painter: sixteenths of a degree.
constexpr int kCircle = 360 * 16;

} // namespace

ProgressRing::ProgressRing(QWidget* parent) : QProgressBar(parent) {
    setTextVisible(false);
    setRange(0, 0);
    setFixedSize(sizeHint());
    setAccessibleName(QStringLiteral("Running"));
}

void ProgressRing::setShare(std::optional<double> share) {
    if (share)
        share = std::clamp(*share, 0.0, 1.0);
    if (share == m_share)
        return;
    m_share = share;
    setRange(0, share ? kSteps : 0);
    if (share)
        setValue(static_cast<int>(*share * kSteps));
    turnWhileSeen();
    update();
}

void ProgressRing::turnWhileSeen() {
    if (m_share || !isVisible()) {
        m_timer.stop();
    } else if (!m_timer.isActive()) {
        m_turning.start();
        m_timer.start(kFrameTime, this);
    }
}

void ProgressRing::showEvent(QShowEvent* event) {
    QProgressBar::showEvent(event);
    turnWhileSeen();
}

void ProgressRing::hideEvent(QHideEvent* event) {
    QProgressBar::hideEvent(event);
    turnWhileSeen();
}

void ProgressRing::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_timer.timerId())
        update();
    else
        QProgressBar::timerEvent(event);
}

void ProgressRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = 2.2;
    const auto circle = QRectF(rect()).adjusted(width, width, -width, -width);
    painter.setPen(QPen(faded(toneColor(Tone::primary, palette()), 0.16), width));
    painter.drawEllipse(circle);

    painter.setPen(
        QPen(toneColor(m_share ? Tone::accent : Tone::secondary, palette()), width, Qt::SolidLine, Qt::RoundCap));
    if (m_share) {
        if (*m_share > 0)
            painter.drawArc(circle, kCircle / 4, static_cast<int>(-*m_share * kCircle));
        return;
    }
    const auto turned = m_turning.isValid() ? m_turning.elapsed() % kTurnTime : 0;
    painter.drawArc(circle, static_cast<int>(kCircle / 4 - turned * kCircle / kTurnTime), -kCircle / 4);
}

} // namespace torvo
