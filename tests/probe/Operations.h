#pragma once

#include "support/Json.h"
#include "tests/probe/Values.h"

#include <string>

namespace torvo::probe {

/// Answers one line of the protocol: an object {"op": NAME, "in": {…}}. The answer is {"out": …} or {"error": text}.
[[nodiscard]] Json answer(const std::string& line);

/// What the bar says and offers.
[[nodiscard]] OperationTable barOperations();
/// Where windows and the bar are, what is selected, and the shortcut.
[[nodiscard]] OperationTable desktopOperations();
/// Activity records.
[[nodiscard]] OperationTable recordOperations();

} // namespace torvo::probe
