#pragma once

#include "support/FileURL.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The paths in a list, one a line, or each ended by a NUL byte; empty ones are left out.
[[nodiscard]] std::vector<std::string> pathsInList(std::string_view list, char separator);

/// The files that the command line names: `paths`, then those of the list in the file `listName` ("-": standard input;
/// empty: no list). Relative paths count from the present folder. Empty only when neither paths nor a list are given: a
/// list without files is an error. The error is one line.
[[nodiscard]] std::expected<std::vector<FileURL>, std::string>
filesFromArguments(const std::vector<std::string>& paths, const std::string& listName, char separator);

} // namespace torvo
