#include "linux/X11Keyboard.h"

#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <ranges>

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

bool pressKeysIn(X11Connection& display, xcb_window_t window, const std::vector<xcb_keysym_t>& keys) {
    auto* connection = display.get();
    std::vector<xcb_keycode_t> codes;
    auto* symbols = xcb_key_symbols_alloc(connection);
    for (const auto key : keys) {
        const XcbReply<xcb_keycode_t> found(xcb_key_symbols_get_keycode(symbols, key));
        codes.push_back(found ? *found : XCB_NO_SYMBOL);
    }
    xcb_key_symbols_free(symbols);
    const XcbReply<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    const XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    // Without the keyboard in that window the keys would go to another program.
    if (!focus || !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        std::ranges::find(codes, XCB_NO_SYMBOL) != codes.end())
        return false;
    const auto fake = [&](std::uint8_t type, xcb_keycode_t code) {
        xcb_test_fake_input(connection, type, code, XCB_CURRENT_TIME, display.root(), 0, 0, 0);
    };
    releaseHeldModifiers(connection, display.root());
    xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    for (const auto code : codes)
        fake(XCB_KEY_PRESS, code);
    for (const auto code : codes | std::views::reverse)
        fake(XCB_KEY_RELEASE, code);
    xcb_set_input_focus(connection, focus->revert_to, focus->focus, XCB_CURRENT_TIME);
    // The server has carried it out when it answers.
    const XcbReply<xcb_get_input_focus_reply_t> heard(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return true;
}

} // namespace torvo
