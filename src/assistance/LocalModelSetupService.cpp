#include "assistance/LocalModelSetupService.h"

#include "assistance/ToolRun.h"
#include "planning/LLMEndpoint.h"
#include "planning/LLMPlanner.h"
#include "support/Text.h"

#include <algorithm>
#include <utility>

namespace torvo {

namespace {

const std::string& defaultRoot() {
    static const std::string root = LLMEndpoint().baseURL;
    return root;
}

} // namespace

std::optional<std::string> preferredModel(const std::vector<std::string>& models, const std::string& configured) {
    for (const auto& wanted : {std::string(kRecommendedModel), configured}) {
        if (std::ranges::find(models, wanted) != models.end())
            return wanted;
    }
    return models.empty() ? std::nullopt : std::optional(models.front());
}

std::function<void(std::function<void()> action)> LocalModelSetupService::onMainWhileAlive() {
    return [alive = std::weak_ptr(m_alive), &dispatcher = m_platform.dispatcher](std::function<void()> action) {
        dispatcher.runOnMain([alive, action = std::move(action)] {
            if (!alive.expired())
                action();
        });
    };
}

void LocalModelSetupService::say(std::string status) {
    m_status = std::move(status);
    m_observers.notify();
}

bool LocalModelSetupService::isOllamaInstalled() const {
    return executableNamed("ollama", m_platform.toolLocations) || m_platform.ollamaApplication.exists();
}

void LocalModelSetupService::refresh() {
    if (m_isWorking)
        return;
    m_isWorking = true;
    say("Checking local AI…");
    const auto configured = LLMEndpoint::current(m_platform.defaults).baseURL;
    const bool isBlank = trimmed(configured, TextTrim::spacesAndLineBreaks).empty();
    m_platform.dispatcher.runDetached([this, onMain = onMainWhileAlive(), &session = m_platform.session, configured,
                                       baseURL = isBlank ? defaultRoot() : configured, stop = m_stop.get_token()] {
        auto models = availableModels(baseURL, session, stop);
        onMain([this, configured, baseURL, models = std::move(models)] {
            // A download that was begun meanwhile has its own end.
            if (m_isDownloading)
                return;
            m_isWorking = false;
            if (LLMEndpoint::current(m_platform.defaults).baseURL != configured)
                refresh();
            else if (models)
                listed(baseURL, *models);
            else
                notListed();
        });
    });
}

void LocalModelSetupService::listed(const std::string& baseURL, const std::vector<std::string>& models) {
    m_models = models;
    if (const auto model = preferredModel(models, LLMEndpoint::current(m_platform.defaults).model)) {
        // Settings that cannot be written are written at the next check.
        (void)LLMEndpoint::setCurrent({baseURL, *model}, m_platform.defaults);
        say("Ready · " + *model);
    } else if (baseURL == defaultRoot()) {
        say("Ollama is running, but no model is installed.");
    } else {
        say("The configured endpoint is running, but advertises no models.");
    }
}

void LocalModelSetupService::notListed() {
    m_models.clear();
    if (LLMEndpoint::current(m_platform.defaults).baseURL != defaultRoot())
        say("The configured AI endpoint is not reachable.");
    else if (isOllamaInstalled())
        say("Ollama is installed but not running.");
    else
        say("Ollama is not installed.");
}

void LocalModelSetupService::selectRecommendedModel() {
    (void)LLMEndpoint::setCurrent({defaultRoot(), kRecommendedModel}, m_platform.defaults);
    say(std::string("Ready · ") + kRecommendedModel);
}

void LocalModelSetupService::installOrSelectRecommendedModel() {
    if (std::ranges::find(m_models, kRecommendedModel) != m_models.end())
        selectRecommendedModel();
    else if (const auto ollama = executableNamed("ollama", m_platform.toolLocations))
        download(*ollama);
    else if (m_platform.ollamaApplication.exists())
        m_platform.workspace.openApplication(m_platform.ollamaApplication,
                                             [this, onMain = onMainWhileAlive()] { onMain([this] { refresh(); }); });
    else
        m_platform.workspace.open(kOllamaDownloadPage);
}

void LocalModelSetupService::download(const std::string& ollama) {
    m_isWorking = true;
    m_isDownloading = true;
    say("Downloading qwen3:4b (about 2.5 GB)…");
    m_platform.dispatcher.runDetached(
        [this, onMain = onMainWhileAlive(), &processes = m_platform.processes, ollama, stop = m_stop.get_token()] {
            const auto run = runTool(processes, ollama, {"pull", kRecommendedModel}, stop);
            onMain([this, run] {
                m_isWorking = false;
                m_isDownloading = false;
                if (!run || run->status != 0)
                    return say("Model download failed: " + (run ? run->reason() : run.error()));
                selectRecommendedModel();
                refresh();
            });
        });
}

} // namespace torvo
