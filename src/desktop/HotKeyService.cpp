#include "desktop/HotKeyService.h"

#include <fmt/format.h>

#include <utility>

namespace torvo {

std::string HotKeyRegistrationError::description() const {
    if (status == kHotKeyExists)
        return "That shortcut is already used by macOS or another app.";
    return fmt::format("macOS could not register this shortcut (error {}).", status);
}

HotKeyCode hotKeyCode(const HotKeyConfiguration& configuration) {
    const auto letter = static_cast<std::size_t>(configuration.key.front() - 'a');
    return {configuration.key == "space" ? kSpaceKeyCode : kLetterKeyCodes.at(letter),
            (configuration.command ? kCommandModifier : 0) + (configuration.shift ? kShiftModifier : 0) +
                (configuration.option ? kOptionModifier : 0) + (configuration.control ? kControlModifier : 0)};
}

HotKeyService::~HotKeyService() {
    unregister();
    if (m_hasHandler)
        m_platform.removeHandler();
}

void HotKeyService::unregister() {
    if (m_hotKey)
        m_platform.unregisterHotKey(*m_hotKey);
    m_hotKey.reset();
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
