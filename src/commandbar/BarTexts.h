#pragma once

#include "assistance/Suggestion.h"
#include "execution/RunOutcome.h"
#include "model/Action.h"
#include "model/StatusKind.h"
#include "planning/RawPlan.h"
#include "planning/RulesStore.h"
#include "support/FileURL.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What the bar says and offers, as pure functions of what it knows.

struct StatusLine {
    std::string text;
    StatusKind kind = StatusKind::hint;

    bool operator==(const StatusLine&) const = default;
};

/// A few words that say what an action will do.
[[nodiscard]] std::string previewLabel(const Action& action);

/// What the bar says about a text while it is typed: what Return would do, or nothing where only the model could tell.
[[nodiscard]] StatusLine liveHint(std::string_view typed);

/// Which folder a command acts on, and on how many files. `isDropped`: they were dropped on the bar.
[[nodiscard]] std::string contextDescription(const std::optional<FileURL>& folder, std::size_t count, bool isDropped);
/// The same while nobody knows what is selected.
[[nodiscard]] std::string folderDescription(const std::optional<FileURL>& folder);

/// The line of a running action: its label, how far it is when that is known, and how to end it.
[[nodiscard]] std::string progressLine(const OperationProgress& progress);

/// "Selected 3 items".
[[nodiscard]] std::string selectedLine(std::size_t count);

/// The sentence for a failed model request to the server at `baseURL`.
[[nodiscard]] std::string planErrorLine(const LLMPlanError& error, std::string_view baseURL);

/// The chips to offer, at most 8: the first rules, what fits the selection or the folder, and, while nothing is
/// selected, the last commands. `history`: newest first.
[[nodiscard]] std::vector<Suggestion> barChips(const std::vector<Rule>& rules, const std::optional<FileURL>& folder,
                                               const std::vector<FileURL>& selection,
                                               const std::vector<std::string>& history);

} // namespace torvo
