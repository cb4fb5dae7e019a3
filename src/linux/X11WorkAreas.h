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
///
/// The first half asks and the second takes the answers, so that other things can be asked with it.
struct WorkAreaQuestions {
    xcb_get_property_cookie_t desktop;
    xcb_intern_atom_cookie_t told;
    xcb_get_property_cookie_t supported;
    xcb_get_property_cookie_t windows;
    xcb_get_property_cookie_t whole;
    xcb_get_geometry_cookie_t root;
};
[[nodiscard]] WorkAreaQuestions askWorkAreas(X11Connection& connection);
/// `asked` is to be answered once.
[[nodiscard]] std::vector<Rect> answeredWorkAreas(X11Connection& connection, const WorkAreaQuestions& asked,
                                                  const std::vector<Rect>& monitors);

} // namespace torvo
