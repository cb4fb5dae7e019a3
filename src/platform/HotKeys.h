#pragma once

#include <array>
#include <cstdint>
#include <expected>
#include <functional>

namespace torvo {

/// A key with its modifiers, in the numbers of the platform's registration call.
struct HotKeyCode {
    /// One of the codes below.
    std::uint32_t key = 0;
    /// The sum of the bits below.
    std::uint32_t modifiers = 0;

    bool operator==(const HotKeyCode&) const = default;
};

/// The virtual key codes of the space bar and of the letters from a to z on the ANSI keyboard.
constexpr std::uint32_t kSpaceKeyCode = 49;
constexpr std::array<std::uint32_t, 26> kLetterKeyCodes{0,  11, 8,  2,  14, 3, 5,  4,  34, 38, 40, 37, 46,
                                                        45, 31, 35, 12, 15, 1, 17, 32, 9,  13, 7,  16, 6};

/// The bits of `HotKeyCode::modifiers`.
constexpr std::uint32_t kCommandModifier = 256;
constexpr std::uint32_t kShiftModifier = 512;
constexpr std::uint32_t kOptionModifier = 2048;
constexpr std::uint32_t kControlModifier = 4096;

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
