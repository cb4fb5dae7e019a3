#include "commandbar/view/BarBackground.h"

#include "widgets/Theme.h"

#include <QPainterPath>

namespace torvo {

namespace {

constexpr double kCornerRadius = 12;
/// The material lets so much of the desktop through that text on it can still be read, whatever lies below.
constexpr double kMaterialOpacity = 0.96;

/// A rectangle whose corners bend gradually: the curve begins outside of where the arc of a circle would, and passes
/// through the arc's middle.
QPainterPath continuousRectangle(const QRectF& rectangle, double radius) {
    const double extent = 1.4 * radius;
    const double control = 0.314 * radius;
    const auto [left, top, right, bottom] =
        std::tuple(rectangle.left(), rectangle.top(), rectangle.right(), rectangle.bottom());
    QPainterPath path(QPointF(left + extent, top));
    path.lineTo(right - extent, top);
    path.cubicTo(right - control, top, right, top + control, right, top + extent);
    path.lineTo(right, bottom - extent);
    path.cubicTo(right, bottom - control, right - control, bottom, right - extent, bottom);
    path.lineTo(left + extent, bottom);
    path.cubicTo(left + control, bottom, left, bottom - control, left, bottom - extent);
    path.lineTo(left, top + extent);
    path.cubicTo(left, top + control, left + control, top, left + extent, top);
    return path;
}

QRectF shapeOf(const QRect& whole) {
    return QRectF(whole).adjusted(kBarMargin, kBarMargin, -kBarMargin, -kBarMargin);
}

} // namespace

QColor barFill(const QPalette& palette, Backdrop backdrop) {
    const auto color = palette.color(QPalette::Window);
    return backdrop == Backdrop::translucent ? faded(color, kMaterialOpacity) : color;
}

void drawBarBackground(QPainter& painter, const QRect& whole, const QRect& exposed, const QPalette& palette,
                       Backdrop backdrop, DropTarget target) {
    const auto fill = barFill(palette, backdrop);
    const auto shape = shapeOf(whole);
    // A key press redraws a field in the middle, far from every edge.
    if (shape.adjusted(kCornerRadius, 4, -kCornerRadius, -4).contains(exposed)) {
        painter.fillRect(exposed, fill);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    if (backdrop == Backdrop::opaque)
        painter.fillRect(whole, fill);
    else
        painter.fillPath(continuousRectangle(shape, kCornerRadius), fill);
    const bool isTarget = target == DropTarget::yes;
    const auto color = isTarget ? toneColor(Tone::accent, palette) : faded(toneColor(Tone::primary, palette), 0.08);
    painter.strokePath(continuousRectangle(shape.adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius),
                       QPen(color, isTarget ? 2 : 1));
}

QRegion barMask(const QRect& whole, double scale) {
    const auto shape = QTransform::fromScale(scale, scale).map(continuousRectangle(shapeOf(whole), kCornerRadius));
    return QRegion(shape.toFillPolygon().toPolygon());
}

} // namespace torvo
