#pragma once

#include <xcb/xproto.h>

namespace torvo {

/// Presses and releases a key as if the user did (XTEST), on the keyboard of $DISPLAY. Modifiers that are held count as
/// released from then on. The key goes to whatever has the keyboard.
void tapKey(xcb_keysym_t symbol);

/// Of the Escape key (X11/keysymdef.h).
constexpr xcb_keysym_t kEscapeKey = 0xFF1B;

} // namespace torvo
