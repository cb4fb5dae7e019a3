// What was done, undoing it, and doing it again.
#include "commandbar/CommandBarService.h"
#include "commandbar/RunBeside.h"
#include "execution/FileMove.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <ranges>

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kUndoneShown = 1400ms;

/// Seconds since 2001-01-01 00:00:00 UTC.
double referenceSeconds(std::chrono::system_clock::time_point time) {
    constexpr double kReferenceDate = 978'307'200;
    return std::chrono::duration<double>(time.time_since_epoch()).count() - kReferenceDate;
}

/// The renames among the confirmed rows that really happened.
std::vector<Operation::Rename> effectiveRenames(const std::vector<PreviewRow>& rows) {
    std::vector<Operation::Rename> renames;
    for (const auto& row : rows) {
        if (!row.to)
            continue;
        Operation::Rename rename{FileURL(row.from).standardized(), FileURL(*row.to).standardized()};
        if (!rename.from.isOccupied() && rename.to.isOccupied())
            renames.push_back(std::move(rename));
    }
    return renames;
}

auto find(std::vector<Operation>& operations, const UUID& id) {
    return std::ranges::find(operations, id, &Operation::id);
}

} // namespace

void CommandBarService::recordOperation(const Action& action, const std::string& title,
                                        const std::vector<FileURL>& outputs) {
    auto renames = effectiveRenames(m_lastRunRenameRows);
    m_lastRunRenameRows.clear();
    if (outputs.empty() && renames.empty())
        return;
    m_state.operations.insert(m_state.operations.begin(),
                              Operation{UUID::random(), referenceSeconds(m_services.now()), title, action,
                                        m_lastRunInputs, outputs, std::move(renames), false});
    if (m_state.operations.size() > kMaximumOperations)
        m_state.operations.resize(kMaximumOperations);
    m_lastOperationID = m_state.operations.front().id;
    saveOperations();
}

void CommandBarService::saveOperations() {
    m_services.diskQueue.async([store = m_services.store, operations = m_state.operations] { store.save(operations); });
}

std::expected<void, std::string> CommandBarService::revert(const Operation& operation) {
    for (const auto& [from, to] : operation.renameMap) {
        if (!to.isOccupied() || from.isOccupied())
            return std::unexpected("Can't undo: files changed since this operation");
    }
    for (const auto& [from, to] : operation.renameMap | std::views::reverse) {
        if (const auto moved = moveFile(to, from); !moved)
            return std::unexpected("Undo failed: " + moved.error());
    }
    if (!operation.renameMap.empty()) {
        std::vector<FileURL> restored;
        std::ranges::transform(operation.renameMap, std::back_inserter(restored), &Operation::Rename::from);
        selectInFinder(std::move(restored));
        return {};
    }
    for (const auto& output : operation.outputs) {
        if (!output.isOccupied())
            continue;
        if (const auto trashed = m_services.trash.moveToTrash(output); !trashed)
            return std::unexpected("Undo failed: " + trashed.error());
    }
    return {};
}

void CommandBarService::undo(const UUID& id) {
    const auto operation = find(m_state.operations, id);
    if (operation == m_state.operations.end() || !operation->canUndo())
        return;
    const Turn turn(*this);
    // What is said now takes the place of a question, so the question goes.
    m_state.pending.reset();
    if (const auto reverted = revert(*operation); !reverted) {
        show(reverted.error(), StatusKind::failure);
        return;
    }
    operation->undone = true;
    saveOperations();
    if (m_lastOperationID == id) {
        m_state.resultOutputs.clear();
        m_lastOperationID.reset();
    }
    show("Undid " + operation->title, StatusKind::info);
    scheduleDismiss(kUndoneShown);
}

void CommandBarService::undoLast() {
    if (m_lastOperationID)
        undo(*m_lastOperationID);
}

void CommandBarService::rerun(const UUID& id) {
    const auto operation = find(m_state.operations, id);
    if (operation == m_state.operations.end() || m_state.isRunning)
        return;
    const Turn turn(*this);
    beginToken();
    m_dismissal.reset();
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
