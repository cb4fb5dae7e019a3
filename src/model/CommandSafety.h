#pragma once

#include "model/Action.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The textual classification of commands. Nothing here runs a command or looks at a file: every answer is a pure
/// function of the text, and takes time linear in its length.

/// Whether the command of every "$(" is printf, echo, dirname or basename, arithmetic expansions apart. Arguments are
/// not judged.
[[nodiscard]] bool commandSubstitutionsAreSafe(std::string_view command);

enum class SafeSubstitutions {
    /// Every command substitution counts as destructive.
    rejected,
    /// Those that `commandSubstitutionsAreSafe` accepts do not.
    allowed,
};

/// Whether the command could delete, overwrite or move files, or do anything else that needs an explicit yes. In doubt
/// the answer is true.
[[nodiscard]] bool looksDestructive(std::string_view command,
                                    SafeSubstitutions substitutions = SafeSubstitutions::rejected);

/// What capture group `capture` of `pattern` (RE2 syntax) caught in each match over `text`, in order; empty when the
/// pattern does not compile or has no such group.
[[nodiscard]] std::vector<std::string> matches(std::string_view pattern, std::string_view text, int capture);

/// Whether a listing command is certainly free of side effects, as far as its text tells.
[[nodiscard]] bool isProvablyReadOnlySelectionCommand(std::string_view command);

/// Whether a rename preview does nothing but print, so that it may run before the user agreed to anything.
[[nodiscard]] bool isSafePreviewCommand(std::string_view command);

/// Whether an action takes more than a plain yes: its command is marked or looks destructive, or is a listing that may
/// do more than list.
[[nodiscard]] bool needsPermission(const Action& action);

} // namespace torvo
