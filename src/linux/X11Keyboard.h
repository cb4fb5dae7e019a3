#pragma once

#include "linux/X11Connection.h"

#include <vector>

namespace torvo {

/// Whether keys that are pressed now mean what they are and go to the window that has the keyboard: no modifier (Caps
/// Lock and its like left aside) and no mouse button is held, and no program has grabbed the keyboard.
[[nodiscard]] bool isKeyboardFree(X11Connection& display);

/// Presses keys in a window as if the user did (XTEST), one after the other, and releases them. Whatever else has the
/// keyboard keeps it: the X server gives it to the window, presses, and gives it back before it takes the next key from
/// anybody. False, and nothing is pressed, when the keyboard is not free or lacks a key, or the window is not on the
/// screen.
[[nodiscard]] bool pressKeysIn(X11Connection& display, xcb_window_t window, const std::vector<xcb_keysym_t>& keys);

/// Of keys (X11/keysymdef.h).
constexpr xcb_keysym_t kEscapeKey = 0xFF1B;
constexpr xcb_keysym_t kControlKey = 0xFFE3;

} // namespace torvo
