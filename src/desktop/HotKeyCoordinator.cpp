#include "desktop/HotKeyCoordinator.h"

#include "desktop/SettingsStore.h"

#include <fmt/format.h>

namespace torvo {

HotKeyCoordinator::HotKeyCoordinator(HotKeys& platform, UserDefaults& defaults)
    : m_defaults(defaults),
      m_service(platform),
      m_configuration(SettingsStore::hotKey(defaults)),
      m_failures(defaults.observeFailures([this](const auto& key, const auto& error) {
          if (key == SettingsStore::kHotKey)
              notStored(error);
      })) {}

bool HotKeyCoordinator::notStored(const std::string& error) {
    return say("The shortcut works until Torvo quits: " + error, true);
}

bool HotKeyCoordinator::say(std::string message, bool isError) {
    m_statusMessage = std::move(message);
    m_hasError = isError;
    m_observers.notify();
    return !isError;
}

bool HotKeyCoordinator::apply(const HotKeyConfiguration& configuration, Storing storing) {
    if (!m_action)
        return false;
    if (const auto registered = m_service.registerHotKey(configuration, m_action); !registered) {
        // The one before works on, unless it is the one that failed.
        (void)m_service.registerHotKey(m_configuration, m_action);
        return say(registered.error().description(), true);
    }
    m_configuration = configuration;
    if (storing == Storing::yes) {
        if (const auto stored = SettingsStore::setHotKey(configuration, m_defaults); !stored)
            return notStored(stored.error());
    }
    return say(fmt::format("Shortcut set to {}.", configuration.displayName()), false);
}

bool HotKeyCoordinator::update(const HotKeyConfiguration& configuration) {
    if (!configuration.command && !configuration.shift && !configuration.option && !configuration.control)
        return say("Choose at least one modifier key.", true);
    return apply(configuration, Storing::yes);
}

} // namespace torvo
