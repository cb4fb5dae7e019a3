#include "desktop/HotKeyService.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace torvo {

namespace {

constexpr std::uint32_t kSpaceKey = 49;
/// The virtual key codes of the letters from a to z on the ANSI keyboard.
constexpr std::array<std::uint32_t, 26> kLetterKeys{0,  11, 8,  2,  14, 3, 5,  4,  34, 38, 40, 37, 46,
                                                    45, 31, 35, 12, 15, 1, 17, 32, 9,  13, 7,  16, 6};

} // namespace

std::string HotKeyRegistrationError::description() const {
    if (status == kHotKeyExists)
        return "That shortcut is already used by macOS or another app.";
    return fmt::format("macOS could not register this shortcut (error {}).", status);
}

HotKeyCode hotKeyCode(const HotKeyConfiguration& configuration) {
    const auto letter = static_cast<std::size_t>(configuration.key.front() - 'a');
    return {configuration.key == "space" ? kSpaceKey : kLetterKeys.at(letter),
            (configuration.command ? 256U : 0U) + (configuration.shift ? 512U : 0U) +
                (configuration.option ? 2048U : 0U) + (configuration.control ? 4096U : 0U)};
}

HotKeyService::~HotKeyService() {
    unregister();
    if (m_hasHandler)
        m_platform.removeHandler();
}

void HotKeyService::unregister() {
    if (m_hotKey)
        m_platform.unregisterHotKey(*std::exchange(m_hotKey, std::nullopt));
}

std::expected<void, HotKeyRegistrationError> HotKeyService::registerHotKey(const HotKeyConfiguration& configuration,
                                                                           std::function<void()> action) {
    unregister();
    m_callback = std::move(action);
    if (!m_hasHandler) {
        const auto installed = m_platform.installHandler([this] {
            // A copy: the action may register another shortcut.
            if (const auto callback = m_callback)
                callback();
        });
        if (!installed)
            return std::unexpected(HotKeyRegistrationError{installed.error()});
        m_hasHandler = true;
    }
    const auto registered = m_platform.registerHotKey(hotKeyCode(configuration));
    if (!registered)
        return std::unexpected(HotKeyRegistrationError{registered.error()});
    m_hotKey = *registered;
    return {};
}

} // namespace torvo
