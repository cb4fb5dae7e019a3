#pragma once

#include "linux/X11Keyboard.h"

#include <vector>

namespace torvo {

/// Presses keys in a window once the keyboard is free: whoever holds a key or a button, or has a menu open, is in the
/// middle of something. False, and nothing is pressed, when that does not come soon or the window is not on the screen.
[[nodiscard]] bool pressInWindow(xcb_window_t window, const std::vector<xcb_keysym_t>& keys);

} // namespace torvo
