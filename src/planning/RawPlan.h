#pragma once

#include "model/Action.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// Why the model produced no action.
struct LLMPlanError {
    enum class Kind {
        /// No command came of it; `text` is a whole sentence for the user.
        unsupported,
        /// The server could not be asked; `text` is a short technical detail.
        network,
        /// The reply cannot be read; `text` is empty.
        badResponse,
    };
    Kind kind = Kind::badResponse;
    std::string text;

    bool operator==(const LLMPlanError&) const = default;
};

/// The object that the model is told to produce. Members that are missing or of another type keep their defaults.
struct RawPlan {
    /// Lower case.
    std::string kind = "run";
    bool runnable = true;
    std::string command;
    std::string explanation;
    bool destructive = false;
    /// Trimmed; absent when nothing is left.
    std::optional<std::string> preview;

    bool operator==(const RawPlan&) const = default;
};

/// Reads a plan; absent when `json` is not a JSON object.
[[nodiscard]] std::optional<RawPlan> decodeRawPlan(std::string_view json);

/// Cuts the JSON object out of a reply that may wrap it in prose or in a markdown fence. A text without an object comes
/// back trimmed and without fences.
[[nodiscard]] std::string extractJSON(std::string_view text);

/// The action that the model's text stands for. A command's danger is judged here: the model can raise the destructive
/// flag but never lower it, and a preview that does more than print is dropped.
[[nodiscard]] std::expected<Action, LLMPlanError> actionFromContent(std::string_view content);

} // namespace torvo
