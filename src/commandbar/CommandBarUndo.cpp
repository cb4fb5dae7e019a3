// What was done, undoing it, and doing it again.
#include "commandbar/CommandBarService.h"
#include "commandbar/RunBeside.h"
#include "execution/Revert.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ranges>

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kUndoneShown = 1400ms;
/// An undo that takes longer is shown while it is under way.
constexpr auto kUnnoticed = 300ms;
constexpr const char* kUndoing = "Undoing…";

/// Seconds since 2001-01-01 00:00:00 UTC.
double referenceSeconds(std::chrono::system_clock::time_point time) {
    constexpr double kReferenceDate = 978'307'200;
    return std::chrono::duration<double>(time.time_since_epoch()).count() - kReferenceDate;
}

auto find(std::vector<Operation>& operations, const UUID& id) {
    return std::ranges::find(operations, id, &Operation::id);
}

} // namespace

std::optional<UUID> CommandBarService::recordOperation(const Action& action, const FinderContext& context,
                                                       const Completed& completed,
                                                       std::vector<Operation::Rename> renames) {
    if (completed.outputs.empty() && renames.empty())
        return std::nullopt;
    m_state.operations.insert(m_state.operations.begin(),
                              Operation{UUID::random(), referenceSeconds(m_services.now()), completed.message, action,
                                        context.selection, completed.outputs, std::move(renames), false});
    if (m_state.operations.size() > kMaximumOperations)
        m_state.operations.resize(kMaximumOperations);
    saveOperations();
    return m_state.operations.front().id;
}

void CommandBarService::saveOperations() {
    m_services.diskQueue.async([store = m_services.store, operations = m_state.operations] { store.save(operations); });
}

void CommandBarService::undo(const UUID& id) {
    const auto operation = find(m_state.operations, id);
    const bool isUnderWay = std::ranges::any_of(m_undos, [&](const auto& undo) { return undo->operation.id == id; });
    if (operation == m_state.operations.end() || operation->undone || isUnderWay)
        return;
    const auto undo = m_undos.emplace_back(std::make_shared<Undo>(Undo{*operation, {}}));
    m_undoDismisses = true;
    m_services.diskQueue.async([this, undo, &trash = m_services.trash, onMain = onMain()] {
        undo->outcome = revert(undo->operation, trash);
        onMain([this, undo] { finishUndo(undo); });
    });
    m_undoNotice = m_services.dispatcher.runAfter(kUnnoticed, [this] { showUndoing(); });
}

void CommandBarService::showUndoing() {
    const Turn turn(*this);
    m_state.undoing.clear();
    for (const auto& undo : m_undos)
        m_state.undoing.push_back(undo->operation.id);
    m_dismissal.reset();
    m_state.pending.reset();
    if (!m_state.isRunning)
        show(kUndoing, StatusKind::info);
}

void CommandBarService::finishUndo(const std::shared_ptr<Undo>& undo) {
    std::erase(m_undos, undo);
    std::erase(m_state.undoing, undo->operation.id);
    if (m_undos.empty())
        m_undoNotice.reset();
    const auto& outcome = *undo->outcome;
    if (outcome == Reverted::nothingToUndo) {
        if (m_state.status == kUndoing)
            show("", StatusKind::hint);
        return;
    }
    // What is said now takes the place of a question, so the question goes.
    m_state.pending.reset();
    if (!outcome) {
        // The clock of the run before must not take this away.
        stay();
        show(outcome.error(), StatusKind::failure);
        // The Activity window may be in front, and the bar hidden.
        notifyIfBackgrounded(outcome.error());
        return;
    }
    markUndone(undo->operation.id);
    std::vector<FileURL> restored;
    std::ranges::transform(undo->operation.renameMap, std::back_inserter(restored), &Operation::Rename::from);
    if (!restored.empty())
        selectInFinder(std::move(restored));
    show("Undid " + undo->operation.title, StatusKind::info);
    if ((m_undoDismisses || !m_state.isKeyWindow) && m_undos.empty())
        scheduleDismiss(kUndoneShown);
}

void CommandBarService::markUndone(const UUID& id) {
    if (const auto operation = find(m_state.operations, id); operation != m_state.operations.end()) {
        operation->undone = true;
        saveOperations();
    }
    if (m_lastOperationID == id) {
        m_state.resultOutputs.clear();
        m_lastOperationID.reset();
    }
}

void CommandBarService::finishUndos() {
    if (m_undos.empty())
        return;
    m_services.diskQueue.sync([] {});
    for (const auto& undo : m_undos) {
        if (*undo->outcome == Reverted::yes)
            markUndone(undo->operation.id);
    }
}

void CommandBarService::lookAtOperations() {
    const auto look = [operations = m_state.operations] {
        std::vector<UUID> undoable;
        for (const auto& operation : operations) {
            if (operation.canUndo())
                undoable.push_back(operation.id);
        }
        return undoable;
    };
    m_services.diskQueue.async(
        handingOver(look, [this](std::vector<UUID> undoable) { m_state.undoable = std::move(undoable); }, onMain()));
}

void CommandBarService::undoLast() {
    if (m_lastOperationID)
        undo(*m_lastOperationID);
}

void CommandBarService::rerun(const UUID& id) {
    const auto operation = find(m_state.operations, id);
    if (operation == m_state.operations.end() || isBusy())
        return;
    const Turn turn(*this);
    beginToken();
    stay();
    m_state.pending.reset();
    m_state.resultOutputs.clear();
    m_state.canAskAIToFix = false;
    // What follows may change the list.
    const auto [action, title, inputs] = std::tuple(operation->action, operation->title, operation->inputs);
    if (!m_services.panel.isVisible()) {
        if (const auto frame = m_services.finder.frontWindowFrame())
            placeUnder(*frame, restingForm());
        else
            detach();
    }
    const auto start = [this, action, title](const FinderContext& context) {
        logPlan("rerun", title, context, {{"action", describe(action)}});
        dispatch(action, context, Consent::none);
    };
    if (inputs.empty())
        askDesktop([&finder = m_services.finder] { return FinderContext{finder.frontWindowFolder(), {}}; }, start);
    else
        start({inputs.front().deletingLastPathComponent(), inputs});
}

void CommandBarService::revealLast() {
    const Turn turn(*this);
    const auto outputs = std::exchange(m_state.resultOutputs, {});
    if (outputs.empty())
        return;
    m_services.workspace.reveal(outputs);
    dismiss();
}

void CommandBarService::clearLog() {
    const Turn turn(*this);
    m_state.operations.clear();
    m_services.diskQueue.async([store = m_services.store] { store.clear(); });
    m_lastOperationID.reset();
    m_state.resultOutputs.clear();
}

} // namespace torvo
