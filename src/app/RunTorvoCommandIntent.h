#pragma once

#include "planning/CommandExecutor.h"

#include <expected>
#include <functional>
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

/// The texts under which a front end offers the action's parameters.
namespace IntentText {

constexpr const char* kTitle = "Run Torvo Command";
constexpr const char* kCommand =
    "What to do — e.g. “jpg”, “select all png”, “compress this video”, “make a 1000px wide jpg”.";
constexpr const char* kFiles = "The files to act on.";
constexpr const char* kAllowDestructive = "Permit commands that delete, overwrite, or move existing files (e.g. "
                                          "rename). Off by default for safety.";

} // namespace IntentText

/// "Run Torvo Command": plans a typed command for files and carries it out, without any window and without a question.
/// Permitting destructive changes beforehand is the confirmation.
struct RunTorvoCommandIntent {
    /// What to do, as typed.
    std::string command;
    std::vector<FileURL> files;
    bool allowDestructive = false;

    /// `selectedFiles`: the file manager's selection, asked for when no files are given.
    [[nodiscard]] std::expected<IntentResult, TorvoIntentError>
    perform(const CommandExecutor& executor, const std::function<std::vector<FileURL>()>& selectedFiles,
            const ProgressCallback& progress, const std::stop_token& stop) const;
};

} // namespace torvo
