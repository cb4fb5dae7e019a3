#pragma once

#include <QColor>
#include <QPainter>
#include <QPalette>
#include <QRegion>

namespace torvo {

/// What lies around the bar's shape.
enum class Backdrop {
    /// A compositor blends the window: the desktop shows through the margin and, faintly, through the bar.
    translucent,
    /// The window is opaque and cut to the bar's shape.
    opaque,
};

/// Whether files are being dragged over the bar.
enum class DropTarget { no, yes };

/// The free space around the bar's shape, in device-independent pixels.
constexpr int kBarMargin = 6;

/// What the bar's shape is filled with.
[[nodiscard]] QColor barFill(const QPalette& palette, Backdrop backdrop);

/// Draws the bar's shape and border into a view of the size `whole`; only what `exposed` covers needs to be right.
void drawBarBackground(QPainter& painter, const QRect& whole, const QRect& exposed, const QPalette& palette,
                       Backdrop backdrop, DropTarget target);

/// The bar's shape, for a window that cannot be blended, in pixels of which `scale` are as long as one of `whole`.
[[nodiscard]] QRegion barMask(const QRect& whole, double scale);

} // namespace torvo
