// From a planned action to its outcome: preview, confirmation, running, cancelling.
#include "commandbar/BarTexts.h"
#include "commandbar/CommandBarService.h"
#include "commandbar/RunBeside.h"
#include "desktop/Notifier.h"
#include "desktop/SettingsStore.h"
#include "execution/Revert.h"
#include "model/CommandSafety.h"
#include "support/Overloaded.h"

#include <fmt/format.h>

#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kBriefly = 1400ms;
/// How long files that were created stay on offer.
constexpr auto kWithOutputs = 7000ms;

} // namespace

void CommandBarService::dispatch(const Action& action, const FinderContext& context, Consent consent,
                                 std::vector<PreviewRow> rows) {
    if (const auto* shell = std::get_if<Shell>(&action); shell != nullptr && consent == Consent::none) {
        if (shell->preview || SettingsStore::dryRunPreview(m_services.defaults)) {
            startPreview(*shell, context);
            return;
        }
    }
    if (const auto answer = gate(action, context, consent, m_services.processes.canConfine()))
        handle(*answer, action, context);
    else if (const auto* select = std::get_if<Select>(&action))
        askDesktop(
            [&runner = m_services.runner, spec = select->spec, context] { return runner.runSelect(spec, context); },
            [this, action, context](const RunOutcome& outcome) { handle(outcome, action, context); });
    else
        beginRunning(action, context, consent, std::move(rows));
}

void CommandBarService::awaitConfirmation(PendingAction pending, std::string prompt) {
    // The clock that an earlier success set must not take the question away.
    stay();
    m_state.pending = std::move(pending);
    show(std::move(prompt), m_state.pendingIsDestructive() ? StatusKind::failure : StatusKind::confirm);
}

// Preview

void CommandBarService::startPreview(const Shell& shell, const FinderContext& context) {
    if (!shell.preview) {
        showFilesInstead(shell, context, "");
        return;
    }
    if (!isSafePreviewCommand(*shell.preview) || !m_services.processes.canConfine()) {
        showFilesInstead(shell, context, "\nPreview unavailable; review the exact command.");
        return;
    }
    stay();
    beginToken();
    m_state.pending.reset();
    m_state.isRunning = true;
    show("Preparing preview…", StatusKind::info);
    runBeside([&runner = m_services.runner, command = *shell.preview, context, home = m_services.home,
               stop = m_runs.get_token()] { return renamePreview(runner, command, context, home, stop); },
              [this, shell, context](std::expected<std::vector<PreviewRow>, PreviewFailure> preview) {
                  finishPreview(shell, context, std::move(preview));
              });
}

void CommandBarService::finishPreview(const Shell& shell, const FinderContext& context,
                                      std::expected<std::vector<PreviewRow>, PreviewFailure> preview) {
    m_state.isRunning = false;
    if (preview) {
        awaitConfirmation({shell, context, std::move(*preview)},
                          fmt::format("{}\n$ {}", shell.explanation, shell.command));
    } else if (preview.error().isUnavailable) {
        showFilesInstead(shell, context, "\nPreview unavailable; review the exact command.");
    } else {
        m_state.pending.reset();
        showFailure(std::move(preview.error().message));
        logOutcome("preview-failed", m_lastError);
    }
}

void CommandBarService::showFilesInstead(const Shell& shell, const FinderContext& context, std::string_view reason) {
    std::vector<PreviewRow> rows;
    rows.reserve(context.selection.size());
    for (const auto& file : context.selection)
        rows.push_back({file.path(), std::nullopt});
    awaitConfirmation({shell, context, std::move(rows)},
                      fmt::format("{}{}\n$ {}", shell.explanation, reason, shell.command));
}

void CommandBarService::confirmPending() {
    if (!m_state.pending || isBusy())
        return;
    const Turn turn(*this);
    auto pending = std::move(*m_state.pending);
    m_state.pending.reset();
    logOutcome("confirmed");
    dispatch(pending.action, pending.context, Consent::given, std::move(pending.rows));
}

// Running

void CommandBarService::beginRunning(const Action& action, const FinderContext& context, Consent consent,
                                     std::vector<PreviewRow> rows) {
    stay();
    beginToken();
    m_state.pending.reset();
    m_state.isRunning = true;
    m_state.progress = OperationProgress{"Running…", std::nullopt, std::nullopt};
    show(progressLine(*m_state.progress), StatusKind::info);
    const Run run{action, context, m_requestToken, m_currentLogID, m_runs.get_token()};
    m_isShownRunCancelled = run.isCancelled;
    const auto work = [this, onMain = onMainWhileCurrent(), &runner = m_services.runner, run, consent,
                       rows = std::move(rows)] {
        const auto report = [&](const OperationProgress& progress) {
            onMain([this, progress] {
                if (!m_state.isRunning)
                    return;
                m_state.progress = progress;
                show(progressLine(progress), StatusKind::info);
            });
        };
        auto outcome = runner.execute(run.action, run.context, report, consent, run.stop);
        return FinishedRun{std::move(outcome), effectiveRenames(rows)};
    };
    m_services.dispatcher.runDetached(
        handingOver(work, [this, run](FinishedRun finished) { finishRun(run, std::move(finished)); }, onMain()));
}

void CommandBarService::finishRun(const Run& run, FinishedRun finished) {
    if (run.token == m_requestToken) {
        m_state.isRunning = false;
        m_state.progress.reset();
        handle(finished.outcome, run.action, run.context, std::move(finished.renames));
    } else if (!*run.isCancelled) {
        finishLeftRun(run, std::move(finished));
    }
}

void CommandBarService::finishLeftRun(const Run& run, FinishedRun finished) {
    logOutcome(run.logID, finished.outcome);
    if (const auto* completed = std::get_if<Completed>(&finished.outcome)) {
        (void)recordOperation(run.action, run.context, *completed, std::move(finished.renames));
        notifyIfBackgrounded(completed->message);
    } else if (const auto* failure = std::get_if<Failure>(&finished.outcome)) {
        notifyIfBackgrounded(failure->message);
    }
}

void CommandBarService::handle(const RunOutcome& outcome, const Action& action, const FinderContext& context,
                               std::vector<Operation::Rename> renames) {
    // Set by an undo while this ran.
    stay();
    logOutcome(m_currentLogID, outcome);
    std::visit(Overloaded{
                   [&](const SelectedCount& selected) {
                       show(selectedLine(selected.count), StatusKind::success);
                       scheduleDismiss(kBriefly);
                   },
                   [&](const Completed& completed) { handleCompleted(completed, action, context, std::move(renames)); },
                   [&](const NeedsConfirmation& needed) { awaitConfirmation({action, context, {}}, needed.prompt); },
                   [&](const Noop& noop) { show(noop.message, StatusKind::info); },
                   [&](const Failure& failure) { showFailure(failure.message); },
               },
               outcome);
}

void CommandBarService::handleCompleted(const Completed& completed, const Action& action, const FinderContext& context,
                                        std::vector<Operation::Rename> renames) {
    show(completed.message, StatusKind::success);
    m_state.resultOutputs = completed.outputs;
    if (const auto record = recordOperation(action, context, completed, std::move(renames)))
        m_lastOperationID = record;
    notifyIfBackgrounded(completed.message);
    scheduleDismiss(completed.outputs.empty() ? kBriefly : kWithOutputs);
}

void CommandBarService::notifyIfBackgrounded(std::string_view message) {
    if (!m_state.isKeyWindow && m_services.workspace.frontmostApplication() != kFinderIdentifier)
        Notifier::post(m_services.notifications, "Torvo", message);
}

void CommandBarService::cancel() {
    const Turn turn(*this);
    beginToken();
    if (!m_state.isRunning && !m_state.pending) {
        dismiss();
        return;
    }
    stay();
    if (m_state.isRunning) {
        if (m_isShownRunCancelled)
            *m_isShownRunCancelled = true;
        // A run that the bar was left with goes before the next one, and would keep it from ending.
        m_runs.request_stop();
        m_runs = {};
        m_state.isRunning = false;
        m_state.progress.reset();
        logOutcome("cancelled");
    } else {
        m_state.pending.reset();
        logOutcome("cancelled-at-confirm");
    }
    show("Cancelled", StatusKind::info);
}

} // namespace torvo
