#pragma once

#include "platform/Updater.h"

namespace torvo {

/// Software updates. The updater has its own interface and keeps its own setting.
class UpdateService {
  public:
    /// Starts the updater, which must outlive the service.
    explicit UpdateService(Updater& updater) : m_updater(updater) { m_updater.start(); }

    void checkForUpdates() { m_updater.checkForUpdates(); }
    [[nodiscard]] bool automaticallyChecksForUpdates() const { return m_updater.automaticallyChecksForUpdates(); }
    void setAutomaticallyChecksForUpdates(bool isAutomatic) { m_updater.setAutomaticallyChecksForUpdates(isAutomatic); }

  private:
    Updater& m_updater;
};

} // namespace torvo
