#pragma once

#include "assistance/Suggestion.h"
#include "execution/Operation.h"
#include "execution/PreviewRow.h"
#include "execution/RunOutcome.h"
#include "model/Action.h"
#include "model/CommandSafety.h"
#include "model/FinderContext.h"
#include "model/StatusKind.h"

#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// An action that waits for the user's yes, with the situation that it was planned in.
struct PendingAction {
    Action action;
    FinderContext context;
    /// The renames to show, or the files that will be touched; may be empty.
    std::vector<PreviewRow> rows;
};

/// Everything that the bar shows.
struct CommandBarState {
    /// What is in the command field.
    std::string text;
    std::string status;
    StatusKind statusKind = StatusKind::hint;
    /// The folder and the selection that a command would act on.
    std::string contextHint;
    /// Goes up whenever the field must take the keyboard.
    int focusTrigger = 0;
    std::vector<Suggestion> chips;
    /// The files that the last command created.
    std::vector<FileURL> resultOutputs;
    /// Whether to offer that the model tries again after a failure.
    bool canAskAIToFix = false;
    std::optional<PendingAction> pending;
    /// An action or a preview is under way.
    bool isRunning = false;
    std::optional<OperationProgress> progress;
    bool isKeyWindow = false;
    /// The activity list, newest first.
    std::vector<Operation> operations;
    /// Those that could be undone when their files were last looked at.
    std::vector<UUID> undoable;
    /// Those whose undoing takes its time.
    std::vector<UUID> undoing;
    bool clipboardAvailable = false;
    bool autoAttachEnabled = true;

    [[nodiscard]] bool awaitingConfirm() const { return pending.has_value(); }
    /// Return alone does not confirm the pending action.
    [[nodiscard]] bool pendingIsDestructive() const { return pending && needsPermission(pending->action); }
};

/// What the command field shows while it is empty.
constexpr const char* kCommandPlaceholder = "Type a command…  (e.g. select all png, jpg, zip)";

} // namespace torvo
