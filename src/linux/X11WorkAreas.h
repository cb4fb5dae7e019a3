#pragma once

#include "linux/X11Connection.h"
#include "support/Geometry.h"

#include <vector>

namespace torvo {

/// What panels and docks leave of each monitor, in the order of `monitors`; all of a monitor of which they leave
/// nothing. Rectangles of the whole desktop in pixels, top edge as `y`.
///
/// A window manager that tells of each monitor (_GTK_WORKAREAS) is believed. Otherwise what windows reserve counts
/// (_NET_WM_STRUT_PARTIAL and _NET_WM_STRUT), and where none does, the one area of the whole desktop (_NET_WORKAREA).
[[nodiscard]] std::vector<Rect> workAreas(X11Connection& connection, const std::vector<Rect>& monitors);

} // namespace torvo
