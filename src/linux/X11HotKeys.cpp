#include "linux/X11HotKeys.h"

#include <algorithm>
#include <array>
#include <functional>

namespace torvo {

namespace {

/// The status of a shortcut whose key this keyboard lacks.
constexpr std::int32_t kNoSuchKey = -50;

/// Lock and Num Lock, alone and together: a grab is for one exact set of modifiers.
constexpr std::array<std::uint16_t, 4> kLocks{0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

/// The key symbol (X11/keysymdef.h): those of the Latin letters are their ASCII codes.
std::optional<xcb_keysym_t> keySymbol(std::uint32_t code) {
    if (code == kSpaceKeyCode)
        return ' ';
    const auto* letter = std::ranges::find(kLetterKeyCodes, code);
    if (letter == kLetterKeyCodes.end())
        return std::nullopt;
    return 'a' + static_cast<xcb_keysym_t>(letter - kLetterKeyCodes.begin());
}

std::uint16_t modifierMask(std::uint32_t modifiers) {
    std::uint16_t mask = 0;
    constexpr std::array<std::pair<std::uint32_t, std::uint16_t>, 4> pairs{{{kCommandModifier, XCB_MOD_MASK_4},
                                                                            {kShiftModifier, XCB_MOD_MASK_SHIFT},
                                                                            {kOptionModifier, XCB_MOD_MASK_1},
                                                                            {kControlModifier, XCB_MOD_MASK_CONTROL}}};
    for (const auto& [bit, x11] : pairs)
        mask = static_cast<std::uint16_t>(mask | ((modifiers & bit) != 0 ? x11 : 0));
    return mask;
}

} // namespace

X11HotKeys::X11HotKeys(X11Connection& connection)
    : m_connection(connection), m_symbols(xcb_key_symbols_alloc(connection.get())) {
    connection.listen([this, alive = std::weak_ptr(m_alive)](const xcb_generic_event_t& event) {
        if (!alive.expired())
            handle(event);
    });
}

X11HotKeys::~X11HotKeys() {
    for (const auto& [reference, grab] : m_grabs)
        release(grab);
    xcb_key_symbols_free(m_symbols);
}

void X11HotKeys::handle(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7F;
    if (type == XCB_KEY_PRESS) {
        // A copy: the action may remove the handler.
        if (const auto action = m_pressed)
            action();
        return;
    }
    if (type != XCB_MAPPING_NOTIFY)
        return;
    auto mapping = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
    xcb_refresh_keyboard_mapping(m_symbols, &mapping);
    if (std::ranges::all_of(m_grabs,
                            [this](const auto& held) { return keysOf(held.second.symbol) == held.second.keys; }))
        return;
    // All go before any comes back: one may get the keys that another had.
    for (const auto& [reference, grab] : m_grabs)
        release(grab);
    for (auto& [reference, grab] : m_grabs) {
        grab.keys = keysOf(grab.symbol);
        // Where another program has the new keys there is nobody to tell.
        if (take(grab))
            grab.keys.clear();
    }
}

std::expected<void, std::int32_t> X11HotKeys::installHandler(std::function<void()> pressed) {
    m_pressed = std::move(pressed);
    return {};
}

std::expected<HotKeys::Reference, std::int32_t> X11HotKeys::registerHotKey(const HotKeyCode& code) {
    const auto symbol = keySymbol(code.key);
    Grab grab{symbol.value_or(XCB_NO_SYMBOL), modifierMask(code.modifiers), {}};
    if (symbol)
        grab.keys = keysOf(*symbol);
    if (grab.keys.empty())
        return std::unexpected(kNoSuchKey);
    if (const auto error = take(grab))
        return std::unexpected(*error);
    m_grabs.emplace(m_next, std::move(grab));
    return m_next++;
}

std::vector<xcb_keycode_t> X11HotKeys::keysOf(xcb_keysym_t symbol) {
    const XcbReply<xcb_keycode_t> keys(xcb_key_symbols_get_keycode(m_symbols, symbol));
    std::vector<xcb_keycode_t> found;
    for (const auto* key = keys.get(); key != nullptr && *key != XCB_NO_SYMBOL; ++key)
        found.push_back(*key);
    // A key that gives the symbol in another keyboard layout is another key to whoever types in the first.
    const auto isInFirstLayout = [&](xcb_keycode_t key) {
        constexpr int column = 0;
        return xcb_key_symbols_get_keysym(m_symbols, key, column) == symbol;
    };
    if (std::ranges::any_of(found, isInFirstLayout))
        std::erase_if(found, std::not_fn(isInFirstLayout));
    return found;
}

std::optional<std::int32_t> X11HotKeys::take(const Grab& grab) {
    for (const auto key : grab.keys) {
        for (const auto lock : kLocks) {
            const auto cookie = xcb_grab_key_checked(m_connection.get(), 1, m_connection.root(),
                                                     static_cast<std::uint16_t>(grab.modifiers | lock), key,
                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection.get(), cookie));
            if (!error)
                continue;
            release(grab);
            return error->error_code == XCB_ACCESS ? kHotKeyExists : error->error_code;
        }
    }
    return std::nullopt;
}

void X11HotKeys::release(const Grab& grab) {
    for (const auto key : grab.keys) {
        for (const auto lock : kLocks)
            xcb_ungrab_key(m_connection.get(), key, m_connection.root(),
                           static_cast<std::uint16_t>(grab.modifiers | lock));
    }
    xcb_flush(m_connection.get());
}

void X11HotKeys::unregisterHotKey(Reference hotKey) {
    if (const auto found = m_grabs.find(hotKey); found != m_grabs.end()) {
        release(found->second);
        m_grabs.erase(found);
    }
}

} // namespace torvo
