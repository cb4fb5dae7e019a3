#pragma once

#include "widgets/WindowStyle.h"

#include <QMargins>
#include <QPainter>
#include <QPalette>

namespace torvo {

/// The look of a suggestion chip: a faint capsule that darkens while it is pressed.
struct ChipButtonStyle {
    /// The space around the label.
    static constexpr QMargins kPadding{9, 4, 9, 4};

    static void draw(QPainter& painter, const QRectF& rectangle, const QPalette& palette, Press press);
};

} // namespace torvo
