#pragma once

#include "app/CommandLine.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// Parses the arguments of a subcommand. An exit status means that there is nothing left to do: help was printed, or
/// what is wrong.
[[nodiscard]] std::optional<ExitStatus> parse(CLI::App& app, const std::vector<std::string>& arguments);

} // namespace torvo
