#pragma once

namespace torvo {

/// Looks for newer versions of this program, with an interface of its own. Main thread only.
class Updater {
  public:
    virtual ~Updater() = default;

    /// To be called once at launch.
    virtual void start() = 0;
    virtual void checkForUpdates() = 0;
    [[nodiscard]] virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool isAutomatic) = 0;
};

} // namespace torvo
