#pragma once

#include <QColor>
#include <QIcon>
#include <QPainter>
#include <QRectF>

namespace torvo {

/// The drawings of the interface: one family of line and filled shapes on a 16 × 16 grid, drawn as vectors so that they
/// are crisp at every scale.
enum class Symbol {
    wandAndStars,
    exclamationOctagonFill,
    exclamationTriangleFill,
    checkmarkCircleFill,
    checkmark,
    circle,
    arrowRight,
    clipboard,
    trash,
    cpu,
    sparkles,
    clockArrow,
};

/// Draws a symbol into a square of any size, in one colour.
void drawSymbol(QPainter& painter, Symbol symbol, const QRectF& square, const QColor& color);

/// A symbol in one colour, for buttons and menus; crisp at every scale factor.
[[nodiscard]] QIcon symbolIcon(Symbol symbol, const QColor& color);

} // namespace torvo
