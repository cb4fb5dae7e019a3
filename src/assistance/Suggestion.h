#pragma once

#include "support/FileURL.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A ready-made command.
struct Suggestion {
    /// What the chip shows.
    std::string title;
    /// The command text that it submits.
    std::string input;

    bool operator==(const Suggestion&) const = default;
};

namespace SuggestionEngine {

/// The commands that fit the selection, or the folder when nothing is selected. `folder`: absent when none is known.
[[nodiscard]] std::vector<Suggestion> suggestions(const std::optional<FileURL>& folder,
                                                  const std::vector<FileURL>& selection);

} // namespace SuggestionEngine

} // namespace torvo
