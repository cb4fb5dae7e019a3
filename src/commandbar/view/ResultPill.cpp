#include "commandbar/view/ResultPill.h"

#include "support/FileURLText.h"
#include "widgets/ShownText.h"

#include <QApplication>
#include <QDrag>
#include <QMouseEvent>
#include <QPainter>

namespace torvo {

std::unique_ptr<QMimeData> fileMimeData(const FileURL& file) {
    auto data = std::make_unique<QMimeData>();
    data->setData(QStringLiteral("text/uri-list"), QByteArray::fromStdString(fileURLText(file) + "\r\n"));
    return data;
}

ResultPill::ResultPill(QWidget* parent) : ElidedLabel(Tone::primary, 11, Qt::ElideMiddle, parent) {
    setContentsMargins(8, 3, 8, 3);
    setAlignment(Qt::AlignCenter);
    setCursor(Qt::OpenHandCursor);
    setToolTip(QStringLiteral("Drag to move/copy · created by the last command"));
}

void ResultPill::present(const FileURL& file) {
    m_file = file;
    setText(shownLine(file.lastPathComponent()));
    setVisible(true);
}

void ResultPill::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(toneColor(Tone::success, palette()), 0.15));
    painter.drawRoundedRect(QRectF(rect()), height() / 2.0, height() / 2.0);
    painter.end();
    ElidedLabel::paintEvent(event);
}

void ResultPill::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        m_pressedAt = event->position().toPoint();
}

void ResultPill::mouseMoveEvent(QMouseEvent* event) {
    if (m_pressedAt &&
        (event->position().toPoint() - *m_pressedAt).manhattanLength() >= QApplication::startDragDistance()) {
        m_pressedAt.reset();
        drag();
    }
}

void ResultPill::mouseReleaseEvent(QMouseEvent*) {
    m_pressedAt.reset();
}

void ResultPill::drag() {
    // It belongs to Qt from here on.
    auto* drag = new QDrag(this);
    drag->setMimeData(fileMimeData(m_file).release());
    drag->setPixmap(grab());
    drag->setHotSpot(rect().center());
    drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::CopyAction);
}

} // namespace torvo
