// The bar's input: typing, history, showing and hiding, and the way from a text to an action.
#include "commandbar/CommandBarService.h"

#include "commandbar/BarTexts.h"
#include "commandbar/RunBeside.h"
#include "desktop/SettingsStore.h"
#include "planning/LLMPlanner.h"
#include "planning/PlanningPrompt.h"
#include "planning/PresetEngine.h"
#include "planning/RulesStore.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace torvo {

namespace {

/// So long the bar stays for whoever has one of its menus open; then it looks again.
constexpr std::chrono::milliseconds kUntilMenuCloses{1000};

} // namespace

CommandBarService::CommandBarService(CommandBarServices services)
    : m_services(std::move(services)), m_history(m_services.defaults) {
    m_state.operations = m_services.store.load();
    m_state.autoAttachEnabled = SettingsStore::autoAttach(m_services.defaults);
    m_services.panel.onKeyChange([this](bool isKey) {
        m_services.distributed.post(isKey ? "torvobar.commandBarFocused" : "torvobar.commandBarBlurred");
        keyWindowChanged(isKey);
    });
}

CommandBarService::~CommandBarService() {
    m_services.panel.onKeyChange({});
    endWork();
    ++*m_contextReads;
}

void CommandBarService::endWork() {
    finishUndos();
    m_modelRequest.request_stop();
    m_runs.request_stop();
}

// Typing

void CommandBarService::inputChanged(std::string text) {
    const Turn turn(*this);
    m_state.text = std::move(text);
    m_historyIndex = -1;
    // Whoever types on wants the bar to stay.
    stay();
    m_state.pending.reset();
    m_state.resultOutputs.clear();
    m_state.canAskAIToFix = false;
    auto [line, kind] = liveHint(m_state.text);
    show(std::move(line), kind);
}

void CommandBarService::historyUp() {
    if (m_history.items().empty())
        return;
    if (m_historyIndex == -1)
        m_stashedInput = m_state.text;
    browseHistory(std::min(m_historyIndex + 1, static_cast<int>(m_history.items().size()) - 1));
}

void CommandBarService::historyDown() {
    if (m_historyIndex != -1)
        browseHistory(m_historyIndex - 1);
}

void CommandBarService::browseHistory(int index) {
    const Turn turn(*this);
    stay();
    m_historyIndex = index;
    m_state.text = index == -1 ? m_stashedInput : m_history.items()[static_cast<std::size_t>(index)];
    ++m_state.focusTrigger;
}

void CommandBarService::clearHistory() {
    const Turn turn(*this);
    // One that cannot be removed from the settings is at least gone from the bar.
    (void)m_history.clear();
    m_historyIndex = -1;
    m_stashedInput.clear();
    refreshContext(Reading::byLooking);
}

// Submitting

void CommandBarService::submit(std::string text) {
    m_state.text = std::move(text);
    submit();
}

void CommandBarService::submit() {
    const Turn turn(*this);
    if (isBusy())
        return;
    if (m_state.awaitingConfirm()) {
        if (!m_state.pendingIsDestructive())
            confirmPending();
        return;
    }
    beginToken();
    stay();
    m_historyIndex = -1;
    m_state.resultOutputs.clear();
    m_state.canAskAIToFix = false;
    const std::string input(trimmed(m_state.text, TextTrim::spaces));
    if (input.empty()) {
        dismiss();
        return;
    }
    // One that cannot be stored is still there until the bar quits.
    (void)m_history.record(input);
    withContext([this, command = RulesStore(m_services.defaults).expansion(input).value_or(input)](
                    const FinderContext& context) { plan(command, context); });
}

void CommandBarService::plan(const std::string& command, const FinderContext& context) {
    m_lastInput = command;
    m_lastContext = context;
    if (const auto preset = PresetEngine::match(command)) {
        logPlan("preset", command, context, {{"action", describe(*preset)}});
        dispatch(*preset, context, Consent::none);
        return;
    }
    logModelPlan("llm", command, context);
    startLLMPlan(command, context);
}

void CommandBarService::startLLMPlan(const std::string& text, const FinderContext& context) {
    show("Asking local LLM…", StatusKind::info);
    m_modelRequest = {};
    const LLMPlanner planner{LLMEndpoint::current(m_services.defaults), &m_services.session, &m_services.log,
                             m_currentLogID};
    runBeside([planner, text, context, stop = m_modelRequest.get_token()] { return planner.plan(text, context, stop); },
              [this, context, baseURL = planner.endpoint.baseURL](const std::expected<Action, LLMPlanError>& answer) {
                  finishLLMPlan(answer, context, baseURL);
              });
}

void CommandBarService::finishLLMPlan(const std::expected<Action, LLMPlanError>& answer, const FinderContext& context,
                                      const std::string& baseURL) {
    if (!m_services.panel.isVisible())
        return;
    if (answer) {
        dispatch(*answer, context, Consent::none);
        return;
    }
    showFailure(planErrorLine(answer.error(), baseURL));
    logOutcome("plan-failed", m_lastError);
}

void CommandBarService::askAIToFix() {
    if (m_lastInput.empty() || isBusy())
        return;
    const Turn turn(*this);
    m_state.canAskAIToFix = false;
    beginToken();
    stay();
    m_state.pending.reset();
    const auto prompt = PlanningPrompt::repairRequest(m_lastInput, m_lastError);
    logModelPlan("llm-fix", prompt, m_lastContext);
    startLLMPlan(prompt, m_lastContext);
}

// The command log

void CommandBarService::logPlan(std::string_view route, std::string_view input, const FinderContext& context,
                                Json extra) {
    m_currentLogID = UUID::random();
    m_services.log.plan(*m_currentLogID, route, input, context, std::move(extra));
}

void CommandBarService::logModelPlan(std::string_view route, std::string_view input, const FinderContext& context) {
    const auto endpoint = LLMEndpoint::current(m_services.defaults);
    Json extra{{"endpoint", endpoint.baseURL}, {"model", endpoint.model}};
    if (m_services.log.isEnabled())
        extra["tools"] = PlanningPrompt::availableTools();
    logPlan(route, input, context, std::move(extra));
}

void CommandBarService::logOutcome(std::string_view outcome, std::string_view detail) {
    if (m_currentLogID)
        m_services.log.outcome(*m_currentLogID, outcome, detail);
}

void CommandBarService::logOutcome(const std::optional<UUID>& id, const RunOutcome& outcome) {
    if (!id)
        return;
    auto& log = m_services.log;
    std::visit(Overloaded{
                   [&](const SelectedCount& selected) { log.outcome(*id, "selected", std::to_string(selected.count)); },
                   [&](const Completed& completed) { log.outcome(*id, "completed", completed.message); },
                   [](const NeedsConfirmation&) {},
                   [&](const Noop& noop) { log.outcome(*id, "noop", noop.message); },
                   [&](const Failure& failure) { log.outcome(*id, "failed", failure.message); },
               },
               outcome);
}

// Showing, docking and hiding

void CommandBarService::placeUnder(const Rect& frame, BarForm form) {
    if (!m_services.panel.isVisible())
        resetState();
    m_lastFinderFrame = frame;
    m_services.panel.position(frame, form);
    m_services.panel.orderFront();
}

void CommandBarService::toggle() {
    const Turn turn(*this);
    // Whoever calls the bar wants it to stay.
    stay();
    if (m_services.panel.isVisible())
        m_services.panel.makeKey();
    else if (m_services.workspace.frontmostApplication() == kFinderIdentifier)
        openExpanded();
}

void CommandBarService::openExpanded() {
    const Turn turn(*this);
    const auto frame = m_services.finder.frontWindowFrame();
    if (!frame) {
        detach();
        return;
    }
    placeUnder(*frame, BarForm::expanded);
    // It is in its place already, unless it turns out higher than it was.
    m_openedHeight = m_services.panel.height();
    m_services.panel.makeKey();
}

void CommandBarService::prefill(std::string text) {
    const Turn turn(*this);
    m_services.workspace.activate(kFinderIdentifier);
    openExpanded();
    inputChanged(std::move(text));
    ++m_state.focusTrigger;
}

void CommandBarService::syncAttachment() {
    const auto window = m_services.finder.frontWindow();
    const bool isVisible = m_services.panel.isVisible();
    if (!window) {
        if (isVisible)
            detach();
        return;
    }
    const bool isOther = std::exchange(m_lastFinderWindow, window->element) != window->element;
    if (isVisible && !isOther && window->frame == m_lastFinderFrame)
        return;
    const Turn turn(*this);
    if (!isVisible) {
        placeUnder(window->frame, restingForm());
        return;
    }
    // What the bar says is about the window that it hangs under.
    if (isOther)
        refreshContext(m_state.isKeyWindow ? Reading::byAllMeans : Reading::byLooking);
    m_lastFinderFrame = window->frame;
    m_services.panel.position(window->frame, restingForm());
}

void CommandBarService::keyWindowChanged(bool isKey) {
    {
        const Turn turn(*this);
        m_state.isKeyWindow = isKey;
        if (isKey) {
            refreshContext(Reading::byAllMeans);
            ++m_state.focusTrigger;
        }
    }
    if (m_openedHeight)
        return;
    // Now the bar has the height of its form: whether it has room below the window is up to that.
    m_services.panel.position(m_services.finder.frontWindowFrame(), restingForm());
}

void CommandBarService::setAutoAttachEnabled(bool isEnabled) {
    const Turn turn(*this);
    m_state.autoAttachEnabled = isEnabled;
    // A setting that cannot be stored holds until the bar quits.
    (void)SettingsStore::setAutoAttach(isEnabled, m_services.defaults);
}

void CommandBarService::abandonWork() {
    stay();
    beginToken();
    m_state.pending.reset();
    m_state.isRunning = false;
    m_state.progress.reset();
    m_state.resultOutputs.clear();
    m_droppedSelection.reset();
}

void CommandBarService::resetState() {
    const Turn turn(*this);
    abandonWork();
    m_state.text.clear();
    show("", StatusKind::hint);
    m_historyIndex = -1;
    m_state.canAskAIToFix = false;
    refreshContext(Reading::byLooking);
}

void CommandBarService::detach() {
    const Turn turn(*this);
    abandonWork();
    m_services.panel.orderOut();
}

void CommandBarService::dismiss() {
    if (m_state.autoAttachEnabled && m_services.finder.frontWindowFrame()) {
        resetState();
        m_services.workspace.activate(kFinderIdentifier);
    } else {
        detach();
    }
}

void CommandBarService::stay() {
    m_dismissal.reset();
    m_undoDismisses = false;
}

void CommandBarService::scheduleDismiss(std::chrono::milliseconds delay) {
    m_dismissal = m_services.dispatcher.runAfter(delay, [this] {
        // An undo may have set the clock while something runs, or while the bar is not there to be dismissed.
        if (isBusy() || !m_services.panel.isVisible())
            return;
        if (m_services.panel.hasOpenMenu()) {
            scheduleDismiss(kUntilMenuCloses);
            return;
        }
        const Turn turn(*this);
        const auto fired = std::move(m_dismissal);
        // Whoever works in another window goes on there.
        const bool isElsewhere = m_services.workspace.frontmostApplication() != kFinderIdentifier;
        if (isElsewhere && !m_state.isKeyWindow && m_state.autoAttachEnabled)
            resetState();
        else
            dismiss();
    });
}

void CommandBarService::show(std::string text, StatusKind kind) {
    m_state.status = std::move(text);
    m_state.statusKind = kind;
}

void CommandBarService::showFailure(std::string message) {
    stay();
    m_lastError = message;
    m_state.canAskAIToFix = !m_lastInput.empty();
    show(std::move(message), StatusKind::failure);
}

void CommandBarService::beginToken() {
    ++m_requestToken;
    m_modelRequest.request_stop();
}

CommandBarService::OnMain CommandBarService::onMain() {
    return [this, alive = std::weak_ptr(m_alive), &dispatcher = m_services.dispatcher](std::function<void()> action) {
        dispatcher.runOnMain([this, alive, action = std::move(action)] {
            if (alive.expired())
                return;
            const Turn turn(*this);
            action();
        });
    };
}

CommandBarService::OnMain CommandBarService::onMainWhileCurrent() {
    return [this, token = m_requestToken, onMain = onMain()](std::function<void()> action) {
        onMain([this, token, action = std::move(action)] {
            if (token == m_requestToken)
                action();
        });
    };
}

} // namespace torvo
