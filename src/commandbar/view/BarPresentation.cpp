#include "commandbar/view/BarPresentation.h"

#include "support/FileURLText.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace torvo {

ContextualRow contextualRow(const CommandBarState& state) {
    if (state.awaitingConfirm())
        return ContextualRow::confirmation;
    if (!state.resultOutputs.empty())
        return ContextualRow::results;
    if (state.canAskAIToFix)
        return ContextualRow::askAI;
    if (!state.isRunning && state.text.empty() && (!state.chips.empty() || state.clipboardAvailable))
        return ContextualRow::chips;
    return ContextualRow::none;
}

LeadingIconContent leadingIcon(const CommandBarState& state) {
    if (state.isRunning) {
        const auto& progress = state.progress;
        if (progress && progress->completed && progress->total && *progress->total >= 1) {
            const double share = static_cast<double>(*progress->completed) / static_cast<double>(*progress->total);
            return RunningIcon{std::min(share, 1.0)};
        }
        return RunningIcon{};
    }
    const auto tone = statusTone(state.statusKind);
    switch (state.statusKind) {
    case StatusKind::confirm:
        return SymbolIcon{Symbol::exclamationOctagonFill, tone};
    case StatusKind::success:
        return SymbolIcon{Symbol::checkmarkCircleFill, tone};
    case StatusKind::failure:
        return SymbolIcon{Symbol::exclamationTriangleFill, tone};
    case StatusKind::hint:
    case StatusKind::info:
        break;
    }
    return SymbolIcon{Symbol::wandAndStars, tone};
}

Tone statusTone(StatusKind kind) {
    switch (kind) {
    case StatusKind::confirm:
        return Tone::warning;
    case StatusKind::success:
        return Tone::success;
    case StatusKind::failure:
        return Tone::failure;
    case StatusKind::hint:
    case StatusKind::info:
        break;
    }
    return Tone::secondary;
}

const std::string& shownStatus(const CommandBarState& state) {
    return state.status.empty() ? state.contextHint : state.status;
}

bool showsCommandLine(std::string_view status) {
    return status.find("$ ") != std::string_view::npos;
}

ConfirmationTexts confirmationTexts(bool hasRows, bool isDestructive) {
    const std::string_view primary = hasRows ? "Apply" : "Run anyway";
    if (isDestructive)
        return {primary, "Click to apply · Esc to cancel"};
    return {primary, hasRows ? "⏎ Apply · Esc cancel" : "⏎ Run · Esc to cancel"};
}

std::string moreText(std::size_t count, std::size_t shown) {
    return count > shown ? fmt::format("+{} more", count - shown) : std::string();
}

int lineOfCommand(const CommandBarState& state) {
    if (!state.pending)
        return 0;
    const auto command =
        std::visit(Overloaded{[](const Shell& shell) { return std::string_view(shell.command); },
                              [](const SelectByCommand& listing) { return std::string_view(listing.command); },
                              [](const auto&) { return std::string_view(); }},
                   state.pending->action);
    const std::string_view status = state.status;
    // The explanation before it may hold anything, and so may the command: only its length tells where it begins.
    if (command.empty() || !status.ends_with(command))
        return 0;
    return static_cast<int>(std::ranges::count(status.substr(0, status.size() - command.size()), '\n'));
}

std::string_view lastPathComponent(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path == "/" ? path : path.substr(path.rfind('/') + 1);
}

} // namespace torvo
