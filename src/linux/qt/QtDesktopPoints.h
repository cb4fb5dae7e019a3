#pragma once

#include "linux/DesktopPoints.h"
#include "support/Geometry.h"

#include <QRect>
#include <QScreen>

namespace torvo {

/// `primary`: the primary monitor of the X server on the whole desktop, in pixels (see `primaryMonitor`).

/// The scale factors of Qt's screens at the moment: QT_SCALE_FACTOR, QT_SCREEN_SCALE_FACTORS, or what the desktop's
/// settings say. Main thread only, as all of these.
[[nodiscard]] DesktopPoints qtDesktopPoints(const Rect& primary);

/// Where a window of this geometry is on the desktop, or will be when it is shown; the desktop's origin is the
/// bottom-left corner of the primary monitor. `last`: the screen that the window was on. The size is what it
/// is to Qt.
[[nodiscard]] Rect fromQtGeometry(const Rect& primary, const QRect& geometry, const QScreen& last);

/// The geometry that Qt wants for a window at that place: it counts by the screen that holds the window's middle, also
/// where that is another one than the rectangle begins on.
[[nodiscard]] QRect toQtGeometry(const Rect& primary, const Rect& frame);

} // namespace torvo
