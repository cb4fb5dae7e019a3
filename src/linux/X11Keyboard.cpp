#include "linux/X11Keyboard.h"

#include "linux/X11Connection.h"

#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

namespace torvo {

namespace {

void releaseHeldModifiers(xcb_connection_t* connection, xcb_window_t root) {
    const XcbReply<xcb_query_keymap_reply_t> pressed(
        xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr));
    const XcbReply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (!pressed || !modifiers)
        return;
    const auto* keys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    for (int i = 0; i < xcb_get_modifier_mapping_keycodes_length(modifiers.get()); ++i) {
        const auto key = keys[i];
        if (key != 0 && (pressed->keys[key / 8] >> (key % 8) & 1) != 0)
            xcb_test_fake_input(connection, XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, root, 0, 0, 0);
    }
}

} // namespace

void tapKey(xcb_keysym_t symbol) {
    const auto display = X11Connection::create();
    if (display == nullptr)
        return;
    auto* connection = display->get();
    auto* symbols = xcb_key_symbols_alloc(connection);
    const XcbReply<xcb_keycode_t> keys(xcb_key_symbols_get_keycode(symbols, symbol));
    xcb_key_symbols_free(symbols);
    if (!keys || *keys == XCB_NO_SYMBOL)
        return;
    releaseHeldModifiers(connection, display->root());
    for (const std::uint8_t type : {XCB_KEY_PRESS, XCB_KEY_RELEASE})
        xcb_test_fake_input(connection, type, *keys, XCB_CURRENT_TIME, display->root(), 0, 0, 0);
    // The server has carried it out when it answers.
    const XcbReply<xcb_get_input_focus_reply_t> heard(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

} // namespace torvo
