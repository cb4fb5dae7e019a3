#pragma once

#include "platform/Dispatcher.h"
#include "platform/ProcessHost.h"
#include "platform/Workspace.h"
#include "support/Observable.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A command-line tool that commands use.
struct ToolHealth {
    std::string name;
    /// A few words for the user.
    std::string purpose;
    /// The Homebrew package that provides it; absent for tools of the system.
    std::optional<std::string> package;
    /// Where it is; absent when it is missing.
    std::optional<std::string> path;

    bool operator==(const ToolHealth&) const = default;
};

/// Where tools are looked for, in order.
[[nodiscard]] const std::vector<std::string>& toolLocations();

/// The first of these folders' executable files of that name. The search path is not consulted.
[[nodiscard]] std::optional<std::string> executableNamed(std::string_view name,
                                                         const std::vector<std::string>& locations = toolLocations());

/// Which of the tools are there, and installing the missing ones. Main thread only.
class EnvironmentHealthService {
  public:
    /// All must outlive the service; `processes` also the dispatcher's detached tasks.
    struct Platform {
        Dispatcher& dispatcher;
        ProcessHost& processes;
        Workspace& workspace;
        std::vector<std::string> locations = toolLocations();
    };
    explicit EnvironmentHealthService(Platform platform);
    /// Ends an installation that is under way.
    ~EnvironmentHealthService() { m_stop.request_stop(); }
    EnvironmentHealthService(const EnvironmentHealthService&) = delete;
    EnvironmentHealthService& operator=(const EnvironmentHealthService&) = delete;

    [[nodiscard]] const std::vector<ToolHealth>& tools() const { return m_tools; }
    [[nodiscard]] bool isInstalling() const { return m_isInstalling; }
    /// The last sentence for the user; empty at first.
    [[nodiscard]] const std::string& status() const { return m_status; }
    Subscription observe(std::function<void()> listener) { return m_observers.add(std::move(listener)); }

    /// Looks for all the tools again.
    void refresh();
    /// The packages of the missing tools, sorted.
    [[nodiscard]] std::vector<std::string> missingPackages() const;
    /// Starts to install them with Homebrew; returns at once.
    void installMissing();

  private:
    void say(std::string status);

    Platform m_platform;
    std::vector<ToolHealth> m_tools;
    bool m_isInstalling = false;
    std::string m_status;
    Observers m_observers;
    std::stop_source m_stop;
    /// Expires with the service.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

} // namespace torvo
