#pragma once

#include <QRegion>
#include <QWidget>

namespace torvo {

/// Cuts a window to a shape in device pixels, whatever the scale factor: Qt's own masks are as coarse as its
/// device-independent pixels; null for the whole window. False where that is not possible: without an X server, or
/// before the window is there.
bool setWindowShape(const QWidget& window, const QRegion* devicePixels);

} // namespace torvo
