#pragma once

#include <string>
#include <vector>

namespace torvo {

/// What `torvo` exits with.
enum class ExitStatus {
    /// Done, or nothing to do.
    done = 0,
    failed = 1,
    badUsage = 2,
    /// The command is destructive, and that was not allowed.
    refused = 3,
    /// Ended by Ctrl-C.
    interrupted = 130,
};

/// The subcommands of `torvo`. `arguments`: what follows the subcommand's name. Each prints its results on standard
/// output and its one line of error on standard error.
ExitStatus runCommand(const std::vector<std::string>& arguments);
ExitStatus planCommand(const std::vector<std::string>& arguments);
ExitStatus settingsCommand(const std::vector<std::string>& arguments);
ExitStatus rulesCommand(const std::vector<std::string>& arguments);
/// These reach the bar that runs in the session, and start it when none does.
ExitStatus toggleCommand(const std::vector<std::string>& arguments);
ExitStatus dropCommand(const std::vector<std::string>& arguments);
ExitStatus prefillCommand(const std::vector<std::string>& arguments);

} // namespace torvo
