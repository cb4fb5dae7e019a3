#pragma once

#include "desktop/HotKeyConfiguration.h"
#include "desktop/HotKeyService.h"
#include "platform/UserDefaults.h"
#include "support/Observable.h"

#include <functional>
#include <string>

namespace torvo {

/// The shortcut in force, as the settings window shows and changes it. Main thread only.
class HotKeyCoordinator {
  public:
    /// Starts with the stored shortcut, not registered yet. Both must outlive the coordinator.
    HotKeyCoordinator(HotKeys& platform, UserDefaults& defaults);

    [[nodiscard]] const HotKeyConfiguration& configuration() const { return m_configuration; }
    /// What came of the last change, one line; empty before the first.
    [[nodiscard]] const std::string& statusMessage() const { return m_statusMessage; }
    [[nodiscard]] bool hasError() const { return m_hasError; }
    Subscription observe(std::function<void()> listener) { return m_observers.add(std::move(listener)); }

    /// What the shortcut does. Until it is set, nothing is registered.
    void setAction(std::function<void()> action) { m_action = std::move(action); }
    /// Registers the stored shortcut, at launch. Whether it is in force now.
    bool applyStored() { return apply(m_configuration, Storing::no); }
    /// Registers and stores another shortcut; where that fails, the one before stays in force. Whether it succeeded.
    bool update(const HotKeyConfiguration& configuration);

  private:
    enum class Storing { no, yes };

    bool apply(const HotKeyConfiguration& configuration, Storing storing);
    bool say(std::string message, bool isError);
    bool notStored(const std::string& error);

    UserDefaults& m_defaults;
    HotKeyService m_service;
    HotKeyConfiguration m_configuration;
    std::string m_statusMessage;
    bool m_hasError = false;
    std::function<void()> m_action;
    Observers m_observers;
    Subscription m_failures;
};

} // namespace torvo
