#pragma once

#include "linux/Confinement.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

struct ShellRun {
    std::string command;
    /// The positional parameters from $1 on.
    std::vector<std::string> arguments;
    std::string folder = "/";
    /// Null: unconfined.
    const PreparedConfinement* confinement = nullptr;
};

struct ShellOutcome {
    /// The exit status, 128 plus the signal, or -1 when nothing ran.
    int status = -1;
    std::string output;
    std::string errors;

    bool operator==(const ShellOutcome&) const = default;
};

/// Runs `/bin/zsh -c COMMAND torvo ARGUMENTS` from a vfork child in a process group of its own, ends what it leaves
/// behind, and returns what it said. The command is killed after `seconds`.
[[nodiscard]] ShellOutcome runShell(const ShellRun& run, int seconds = 60);

} // namespace torvo::testing
