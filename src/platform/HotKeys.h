#pragma once

#include <cstdint>
#include <expected>
#include <functional>

namespace torvo {

/// A key with its modifiers, in the numbers of the platform's registration call.
struct HotKeyCode {
    /// The virtual key code of the ANSI keyboard: 49 is the space bar.
    std::uint32_t key = 0;
    /// The sum of 256 for Command, 512 for Shift, 2048 for Option and 4096 for Control.
    std::uint32_t modifiers = 0;

    bool operator==(const HotKeyCode&) const = default;
};

/// A registration that failed because another program has the shortcut.
constexpr std::int32_t kHotKeyExists = -9878;

/// Keyboard shortcuts that reach this program whatever has the keyboard. Errors are the platform's status codes. Main
/// thread only.
class HotKeys {
  public:
    using Reference = std::uint64_t;

    virtual ~HotKeys() = default;

    /// Sets what a press of any registered shortcut calls, on the main thread.
    [[nodiscard]] virtual std::expected<void, std::int32_t> installHandler(std::function<void()> pressed) = 0;
    virtual void removeHandler() = 0;
    [[nodiscard]] virtual std::expected<Reference, std::int32_t> registerHotKey(const HotKeyCode& code) = 0;
    virtual void unregisterHotKey(Reference hotKey) = 0;
};

} // namespace torvo
