#include "commandbar/BarTexts.h"

#include "model/CommandSafety.h"
#include "planning/PresetEngine.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

namespace torvo {

namespace {

constexpr std::size_t kMostRuleChips = 4;
constexpr std::size_t kMostHistoryChips = 3;
constexpr std::size_t kMostChips = 8;
/// A history entry longer than this many characters is cut to one less on its chip, and marked.
constexpr std::size_t kLongestChipTitle = 26;

std::string label(const SelectionSpec& spec) {
    return std::visit(Overloaded{
                          [](const SelectionSpec::All&) -> std::string { return "Select all items"; },
                          [](const SelectionSpec::None&) -> std::string { return "Clear selection"; },
                          [](const SelectionSpec::Extensions& extensions) {
                              std::vector<std::string> names;
                              for (const auto& extension : extensions.list)
                                  names.push_back("." + extension);
                              return "Select " + joined(names, " ") + " files";
                          },
                      },
                      spec.value);
}

std::string chipTitle(const std::string& command) {
    if (firstCharacters(command, kLongestChipTitle).size() == command.size())
        return command;
    return std::string(firstCharacters(command, kLongestChipTitle - 1)) + "…";
}

/// `completed` of `total` in whole percent, rounded down.
std::size_t percentage(std::size_t completed, std::size_t total) {
    if (completed >= total)
        return 100;
    // So that the multiplication cannot overflow.
    return total > SIZE_MAX / 100 ? completed / (total / 100) : completed * 100 / total;
}

} // namespace

std::string previewLabel(const Action& action) {
    return std::visit(
        Overloaded{
            [](const Select& select) { return label(select.spec); },
            [](const ConvertImages& convert) { return "Convert selected images to " + uppercased(convert.toExt); },
            [](const ZipSelection&) -> std::string { return "Zip the selection"; },
            [](const auto& command) { return command.explanation; },
        },
        action);
}

StatusLine liveHint(std::string_view typed) {
    const auto text = trimmed(typed, TextTrim::spaces);
    const auto action = text.empty() ? std::nullopt : PresetEngine::match(text);
    if (!action)
        return {};
    return {fmt::format("⏎  {}{}", previewLabel(*action), needsPermission(*action) ? " (needs confirm)" : ""),
            StatusKind::info};
}

std::string folderDescription(const std::optional<FileURL>& folder) {
    if (!folder)
        return "No Finder window — open one or drop files here";
    return "📁 " + printableLine(folder->lastPathComponent());
}

std::string contextDescription(const std::optional<FileURL>& folder, std::size_t count, bool isDropped) {
    if (!folder)
        return folderDescription(folder);
    const auto selection =
        count == 0 ? "nothing selected" : fmt::format("{} {}", count, isDropped ? "dropped" : "selected");
    return fmt::format("{} · {}", folderDescription(folder), selection);
}

std::string progressLine(const OperationProgress& progress) {
    if (progress.completed && progress.total && *progress.total >= 1) {
        return fmt::format("{}   {}% · Esc to cancel", progress.label,
                           percentage(*progress.completed, *progress.total));
    }
    return progress.label + "   Esc to cancel";
}

std::string selectedLine(std::size_t count) {
    return "Selected " + counted(count, "item");
}

std::string planErrorLine(const LLMPlanError& error, std::string_view baseURL) {
    switch (error.kind) {
    case LLMPlanError::Kind::unsupported:
        return error.text;
    case LLMPlanError::Kind::network:
        return fmt::format("Couldn't reach the local LLM ({}) — {}", baseURL, error.text);
    case LLMPlanError::Kind::badResponse:
        break;
    }
    return "The local LLM returned a response Torvo couldn't read.";
}

std::vector<Suggestion> barChips(const std::vector<Rule>& rules, const std::optional<FileURL>& folder,
                                 const std::vector<FileURL>& selection, const std::vector<std::string>& history) {
    std::vector<Suggestion> candidates;
    for (const auto& rule : rules | std::views::take(kMostRuleChips))
        candidates.push_back({rule.trigger, rule.trigger});
    std::ranges::copy(SuggestionEngine::suggestions(folder, selection), std::back_inserter(candidates));
    if (selection.empty()) {
        for (const auto& command : history | std::views::take(kMostHistoryChips))
            candidates.push_back({chipTitle(command), command});
    }
    std::vector<Suggestion> chips;
    for (auto& candidate : candidates) {
        const bool isNew = std::ranges::none_of(chips, [&](const Suggestion& chip) {
            return canonicallyEqual(chip.title, candidate.title) && canonicallyEqual(chip.input, candidate.input);
        });
        if (isNew && chips.size() < kMostChips)
            chips.push_back(std::move(candidate));
    }
    return chips;
}

} // namespace torvo
