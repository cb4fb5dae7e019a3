#pragma once

#include "desktop/HotKeyConfiguration.h"
#include "platform/HotKeys.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>

namespace torvo {

/// Why a shortcut could not be registered.
struct HotKeyRegistrationError {
    /// The platform's code.
    std::int32_t status = 0;

    [[nodiscard]] std::string description() const;
};

/// The shortcut in the platform's numbers.
[[nodiscard]] HotKeyCode hotKeyCode(const HotKeyConfiguration& configuration);

/// The one registered shortcut. Main thread only.
class HotKeyService {
  public:
    /// `platform` must outlive the service.
    explicit HotKeyService(HotKeys& platform) : m_platform(platform) {}
    ~HotKeyService();
    HotKeyService(const HotKeyService&) = delete;
    HotKeyService& operator=(const HotKeyService&) = delete;

    /// Replaces the registered shortcut; a press of the new one calls `action`. After a failure none is registered.
    std::expected<void, HotKeyRegistrationError> registerHotKey(const HotKeyConfiguration& configuration,
                                                                std::function<void()> action);

  private:
    void unregister();

    HotKeys& m_platform;
    std::optional<HotKeys::Reference> m_hotKey;
    bool m_hasHandler = false;
    std::function<void()> m_callback;
};

} // namespace torvo
