#pragma once

#include "assistance/EnvironmentHealthService.h"
#include "platform/Dispatcher.h"
#include "platform/HttpSession.h"
#include "platform/ProcessHost.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "support/FileURL.h"
#include "support/Observable.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace torvo {

/// The model that is recommended to everyone.
constexpr const char* kRecommendedModel = "qwen3:4b";

/// Where Ollama is to be had.
constexpr const char* kOllamaDownloadPage = "https://ollama.com/download";

/// The model to use: the recommended one, else the one configured, else the first. Absent for an empty list.
[[nodiscard]] std::optional<std::string> preferredModel(const std::vector<std::string>& models,
                                                        const std::string& configured);

/// Whether a language model can be reached, and the step that gets one there. Main thread only.
class LocalModelSetupService {
  public:
    /// All must outlive the service; `processes` and `session` also the dispatcher's detached tasks.
    struct Platform {
        Dispatcher& dispatcher;
        ProcessHost& processes;
        Workspace& workspace;
        UserDefaults& defaults;
        HttpSession& session;
        std::vector<std::string> toolLocations = torvo::toolLocations();
        FileURL ollamaApplication{"/Applications/Ollama.app"};
    };
    explicit LocalModelSetupService(Platform platform) : m_platform(std::move(platform)) {}
    /// Ends a check and a download that are under way.
    ~LocalModelSetupService() { m_stop.request_stop(); }
    LocalModelSetupService(const LocalModelSetupService&) = delete;
    LocalModelSetupService& operator=(const LocalModelSetupService&) = delete;

    /// What the server offered at the last check.
    [[nodiscard]] const std::vector<std::string>& models() const { return m_models; }
    /// The sentence for the user.
    [[nodiscard]] const std::string& status() const { return m_status; }
    [[nodiscard]] bool isWorking() const { return m_isWorking; }
    /// Whether the recommended model is on its way; a second press would start a second download.
    [[nodiscard]] bool isDownloading() const { return m_isDownloading; }
    /// Whether Ollama's program or its application is there. Looks afresh on every call.
    [[nodiscard]] bool isOllamaInstalled() const;
    Subscription observe(std::function<void()> listener) { return m_observers.add(std::move(listener)); }

    /// Starts a check, unless one is under way; returns at once. Where it finds a model, that one is configured. When
    /// another server is configured meanwhile, that one is checked.
    void refresh();
    /// Starts the step that the situation calls for: selects the recommended model, downloads it, starts Ollama, or
    /// opens the page where to get it. Returns at once.
    void installOrSelectRecommendedModel();

  private:
    void listed(const std::string& baseURL, const std::vector<std::string>& models);
    void notListed();
    void download(const std::string& ollama);
    void selectRecommendedModel();
    void say(std::string status);
    /// `action` on the main thread, unless the service is gone by then. Callable from any thread.
    [[nodiscard]] std::function<void(std::function<void()> action)> onMainWhileAlive();

    Platform m_platform;
    std::vector<std::string> m_models;
    std::string m_status = "Checking local AI…";
    bool m_isWorking = false;
    bool m_isDownloading = false;
    Observers m_observers;
    std::stop_source m_stop;
    /// Expires with the service.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

} // namespace torvo
