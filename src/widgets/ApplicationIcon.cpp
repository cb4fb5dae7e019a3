#include "widgets/ApplicationIcon.h"

#include "widgets/Symbol.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

namespace torvo {

namespace {

constexpr QColor kTop(0x4F, 0x7C, 0xF3);
constexpr QColor kBottom(0x3B, 0x4F, 0xC4);
/// Of its side.
constexpr double kEdge = 1.0 / 16;
constexpr double kCorner = 0.2;
constexpr double kDrawing = 0.7;

QPixmap drawn(int side) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient ground(0, 0, 0, side);
    ground.setColorAt(0, kTop);
    ground.setColorAt(1, kBottom);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    const double edge = kEdge * side;
    painter.drawRoundedRect(QRectF(edge, edge, side - 2 * edge, side - 2 * edge), kCorner * side, kCorner * side);
    const double left = (1 - kDrawing) / 2 * side;
    drawSymbol(painter, Symbol::wandAndStars, QRectF(left, left, kDrawing * side, kDrawing * side), Qt::white);
    return picture;
}

} // namespace

QIcon applicationIcon() {
    QIcon icon;
    for (const int side : {16, 24, 32, 48, 64, 128})
        icon.addPixmap(drawn(side));
    return icon;
}

} // namespace torvo
