#pragma once

#include "linux/X11Connection.h"
#include "platform/HotKeys.h"

#include <xcb/xcb_keysyms.h>

#include <map>
#include <memory>
#include <vector>

namespace torvo {

/// Shortcuts by XGrabKey: Command is the Super key, Option is Alt. Caps Lock and Num Lock make no difference.
class X11HotKeys final : public HotKeys {
  public:
    /// Presses arrive when the connection dispatches. `connection` must outlive the object.
    explicit X11HotKeys(X11Connection& connection);
    ~X11HotKeys() override;
    X11HotKeys(const X11HotKeys&) = delete;
    X11HotKeys& operator=(const X11HotKeys&) = delete;

    std::expected<void, std::int32_t> installHandler(std::function<void()> pressed) override;
    void removeHandler() override { *m_pressed = {}; }
    std::expected<Reference, std::int32_t> registerHotKey(const HotKeyCode& code) override;
    void unregisterHotKey(Reference hotKey) override;

  private:
    struct Grab {
        std::vector<xcb_keycode_t> keys;
        std::uint16_t modifiers = 0;
    };
    void release(const Grab& grab);

    X11Connection& m_connection;
    xcb_key_symbols_t* m_symbols;
    /// Shared with the connection's listener, which may live longer.
    std::shared_ptr<std::function<void()>> m_pressed = std::make_shared<std::function<void()>>();
    std::map<Reference, Grab> m_grabs;
    Reference m_next = 1;
};

} // namespace torvo
