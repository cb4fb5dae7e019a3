#pragma once

#include "planning/CommandExecutor.h"

#include <expected>
#include <stop_token>
#include <string>
#include <vector>

namespace torvo {

/// Why the action ended without a result.
struct TorvoIntentError {
    enum class Kind {
        /// It could not be planned, or it failed.
        failed,
        /// It is destructive, and that was not allowed.
        refused,
    };
    Kind kind = Kind::failed;
    std::string message;
};

/// What the action gives back.
struct IntentResult {
    /// One line to show or to speak.
    std::string dialog;
    std::vector<FileURL> files;
    /// Nothing needed doing.
    bool isNoop = false;
};

/// "Run Torvo Command": plans a typed command for files and carries it out, without any window and without a question.
/// Permitting destructive changes beforehand is the confirmation.
struct RunTorvoCommandIntent {
    /// What to do, as typed.
    std::string command;
    /// Empty: the file manager's selection.
    std::vector<FileURL> files;
    bool allowDestructive = false;

    [[nodiscard]] std::expected<IntentResult, TorvoIntentError>
    perform(const CommandExecutor& executor, const ProgressCallback& progress, const std::stop_token& stop) const;
};

} // namespace torvo
