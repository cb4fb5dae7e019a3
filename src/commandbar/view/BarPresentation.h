#pragma once

#include "commandbar/CommandBarState.h"
#include "support/FileURL.h"
#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvo {

/// What the bar shows in a given state, decided without a widget.

/// The one row below the status line.
enum class ContextualRow { none, confirmation, results, askAI, chips };

[[nodiscard]] ContextualRow contextualRow(const CommandBarState& state);

/// Work whose share of 0 to 1 is done; absent when it is not counted.
struct RunningIcon {
    std::optional<double> share;
    bool operator==(const RunningIcon&) const = default;
};

struct SymbolIcon {
    Symbol symbol = Symbol::wandAndStars;
    Tone tone = Tone::secondary;
    bool operator==(const SymbolIcon&) const = default;
};

using LeadingIconContent = std::variant<RunningIcon, SymbolIcon>;

[[nodiscard]] LeadingIconContent leadingIcon(const CommandBarState& state);

[[nodiscard]] Tone statusTone(StatusKind kind);

/// The status, or the context while there is none.
[[nodiscard]] const std::string& shownStatus(const CommandBarState& state);

/// Whether a status shows a command line and belongs into a fixed-width font.
[[nodiscard]] bool showsCommandLine(std::string_view status);

/// What the confirmation row says.
struct ConfirmationTexts {
    std::string_view primary;
    std::string_view hint;
    bool operator==(const ConfirmationTexts&) const = default;
};

[[nodiscard]] ConfirmationTexts confirmationTexts(bool hasRows, bool isDestructive);

/// So many rows of a preview are listed, and so many results have a pill.
constexpr std::size_t kMostPreviewRows = 50;
constexpr std::size_t kMostPills = 3;

/// "+2 more" for what a list of `count` entries leaves out after the first `shown`; empty when it leaves nothing out.
[[nodiscard]] std::string moreText(std::size_t count, std::size_t shown);

/// The name at the end of a path, as a preview command printed it.
[[nodiscard]] std::string_view lastPathComponent(std::string_view path);

/// Which line of the status begins the command that the user is asked about, counted from 0; 0 when nothing is asked.
[[nodiscard]] int lineOfCommand(const CommandBarState& state);

} // namespace torvo
