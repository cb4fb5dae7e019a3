// The least that a window on the screen can cost: one that is drawn with nothing but filled rectangles. When
// Super-Shift-Space is pressed it is shown again and asks the window manager for the keyboard, and draws its text once
// it has it; it is hidden by Escape, and draws something for every other key.
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::uint16_t kWidth = 800;
constexpr std::uint16_t kHeight = 90;
constexpr xcb_keysym_t kEscape = 0xFF1B;

} // namespace

int main() {
    auto* connection = xcb_connect(nullptr, nullptr);
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const auto window = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 100, 100, kWidth, kHeight, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    constexpr const char* name = "Floor";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(std::strlen(name)), name);
    const auto paint = [&](std::uint32_t colour) {
        const auto context = xcb_generate_id(connection);
        xcb_create_gc(connection, context, window, XCB_GC_FOREGROUND, &colour);
        return context;
    };
    const auto background = paint(0x303438);
    const auto ink = paint(0xF0F0F0);
    auto* symbols = xcb_key_symbols_alloc(connection);
    auto* space = xcb_key_symbols_get_keycode(symbols, ' ');
    xcb_grab_key(connection, 1, screen->root, XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT, *space, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    constexpr const char* activeName = "_NET_ACTIVE_WINDOW";
    auto* active = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(activeName)), activeName),
        nullptr);
    const auto activate = [&] {
        xcb_client_message_event_t request{};
        request.response_type = XCB_CLIENT_MESSAGE;
        request.format = 32;
        request.window = window;
        request.type = active->atom;
        // From something like a pager (Extended Window Manager Hints).
        request.data.data32[0] = 2;
        xcb_send_event(connection, 0, screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&request));
    };
    const auto drawText = [&] {
        const xcb_rectangle_t text{20, 30, 300, 16};
        xcb_poly_fill_rectangle(connection, window, ink, 1, &text);
    };
    xcb_map_window(connection, window);
    xcb_flush(connection);
    std::int16_t letters = 0;
    bool isSummoned = false;
    while (auto* event = xcb_wait_for_event(connection)) {
        const auto kind = event->response_type & 0x7F;
        if (kind == XCB_EXPOSE) {
            const xcb_rectangle_t all{0, 0, kWidth, kHeight};
            xcb_poly_fill_rectangle(connection, window, background, 1, &all);
            if (!isSummoned)
                drawText();
            letters = 0;
        } else if (kind == XCB_FOCUS_IN) {
            drawText();
        } else if (kind == XCB_KEY_PRESS) {
            const auto& press = *reinterpret_cast<xcb_key_press_event_t*>(event);
            const auto symbol =
                xcb_key_press_lookup_keysym(symbols, reinterpret_cast<xcb_key_press_event_t*>(event), 0);
            if (symbol == kEscape) {
                xcb_unmap_window(connection, window);
            } else if (press.detail == *space) {
                isSummoned = true;
                xcb_map_window(connection, window);
                activate();
            } else if (symbol >= ' ' && symbol <= '~') {
                const xcb_rectangle_t letter{static_cast<std::int16_t>(20 + letters++ % 60 * 12), 60, 10, 16};
                xcb_poly_fill_rectangle(connection, window, ink, 1, &letter);
            }
        }
        std::free(event);
        xcb_flush(connection);
    }
    return 0;
}
