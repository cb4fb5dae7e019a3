#pragma once

#include "linux/X11Connection.h"

#include <vector>

namespace torvo {

/// Presses keys in a window as if the user did (XTEST), one after the other, and releases them. Whatever else has the
/// keyboard keeps it: the X server gives it to the window, presses, and gives it back before it takes the next key from
/// anybody. Modifiers that the user holds count for these keys too. False, and nothing is pressed, when the window is
/// not on the screen or the keyboard lacks a key.
[[nodiscard]] bool pressKeysIn(X11Connection& display, xcb_window_t window, const std::vector<xcb_keysym_t>& keys);

/// Whether no modifier and no mouse button is held, Caps Lock and its like left aside.
[[nodiscard]] bool isNothingHeld(X11Connection& display);

/// Of keys (X11/keysymdef.h).
constexpr xcb_keysym_t kEscapeKey = 0xFF1B;
constexpr xcb_keysym_t kControlKey = 0xFFE3;

} // namespace torvo
