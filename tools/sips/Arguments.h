#pragma once

#include "Job.h"

#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace torvo::sips {

struct ShowHelp {};
struct ShowVersion {};
using Request = std::variant<Job, ShowHelp, ShowVersion>;

/// Reads a command line, the program's own name left out. The failure is one line that says what is wrong with it.
[[nodiscard]] std::expected<Request, std::string> parseArguments(std::span<const std::string> arguments);

[[nodiscard]] std::string_view helpText();

} // namespace torvo::sips
