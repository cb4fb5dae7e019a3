#pragma once

#include "linux/X11Connection.h"
#include "platform/HotKeys.h"

#include <xcb/xcb_keysyms.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace torvo {

/// Shortcuts by XGrabKey: Command is the Super key, Option is Alt. Caps Lock and Num Lock make no difference. When the
/// keyboard's layout changes, they move to where their letters are then.
class X11HotKeys final : public HotKeys {
  public:
    /// Presses arrive when the connection dispatches. `connection` must outlive the object.
    explicit X11HotKeys(X11Connection& connection);
    ~X11HotKeys() override;
    X11HotKeys(const X11HotKeys&) = delete;
    X11HotKeys& operator=(const X11HotKeys&) = delete;

    std::expected<void, std::int32_t> installHandler(std::function<void()> pressed) override;
    void removeHandler() override { m_pressed = {}; }
    std::expected<Reference, std::int32_t> registerHotKey(const HotKeyCode& code) override;
    void unregisterHotKey(Reference hotKey) override;

  private:
    struct Grab {
        xcb_keysym_t symbol = XCB_NO_SYMBOL;
        std::uint16_t modifiers = 0;
        std::vector<xcb_keycode_t> keys;
    };
    void handle(const xcb_generic_event_t& event);
    /// The keys that give a symbol now.
    [[nodiscard]] std::vector<xcb_keycode_t> keysOf(xcb_keysym_t symbol);
    /// Absent on success; after a failure none of the keys is grabbed.
    [[nodiscard]] std::optional<std::int32_t> take(const Grab& grab);
    void release(const Grab& grab);

    X11Connection& m_connection;
    xcb_key_symbols_t* m_symbols;
    std::function<void()> m_pressed;
    std::map<Reference, Grab> m_grabs;
    Reference m_next = 1;
    /// Expires with the object; the connection's listener may live longer.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

} // namespace torvo
