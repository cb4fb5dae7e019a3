#include "linux/X11Keyboard.h"

#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <ranges>

namespace torvo {

namespace {

/// Keys go to a program that has grabbed the keyboard, whatever window has it. Only who grabs it hears of that.
bool isGrabbed(X11Connection& display) {
    auto* connection = display.get();
    const auto cookie =
        xcb_grab_keyboard(connection, 0, display.root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const XcbReply<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(connection, cookie, nullptr));
    if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS)
        return true;
    xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
    return false;
}

} // namespace

bool isKeyboardFree(X11Connection& display) {
    const XcbReply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(display.get(), xcb_query_pointer(display.get(), display.root()), nullptr));
    constexpr std::uint32_t held = XCB_KEY_BUT_MASK_SHIFT | XCB_KEY_BUT_MASK_CONTROL | XCB_KEY_BUT_MASK_MOD_1 |
                                   XCB_KEY_BUT_MASK_MOD_4 | XCB_KEY_BUT_MASK_BUTTON_1 | XCB_KEY_BUT_MASK_BUTTON_2 |
                                   XCB_KEY_BUT_MASK_BUTTON_3;
    return pointer && (pointer->mask & held) == 0 && !isGrabbed(display);
}

bool pressKeysIn(X11Connection& display, xcb_window_t window, const std::vector<xcb_keysym_t>& keys) {
    auto* connection = display.get();
    std::vector<xcb_keycode_t> codes;
    auto* symbols = xcb_key_symbols_alloc(connection);
    for (const auto key : keys) {
        const XcbReply<xcb_keycode_t> found(xcb_key_symbols_get_keycode(symbols, key));
        codes.push_back(found ? *found : XCB_NO_SYMBOL);
    }
    xcb_key_symbols_free(symbols);
    // Nobody else may move the keyboard between the question who has it and its return.
    xcb_grab_server(connection);
    const XcbReply<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    const XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    // Without the keyboard in that window the keys would go to another program.
    const bool isPossible = focus && attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                            std::ranges::find(codes, XCB_NO_SYMBOL) == codes.end() && isKeyboardFree(display);
    const auto fake = [&](std::uint8_t type, xcb_keycode_t code) {
        xcb_test_fake_input(connection, type, code, XCB_CURRENT_TIME, display.root(), 0, 0, 0);
    };
    if (isPossible) {
        xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        for (const auto code : codes)
            fake(XCB_KEY_PRESS, code);
        for (const auto code : codes | std::views::reverse)
            fake(XCB_KEY_RELEASE, code);
        xcb_set_input_focus(connection, focus->revert_to, focus->focus, XCB_CURRENT_TIME);
    }
    xcb_ungrab_server(connection);
    // The server has carried it out when it answers.
    const XcbReply<xcb_get_input_focus_reply_t> heard(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return isPossible;
}

} // namespace torvo
