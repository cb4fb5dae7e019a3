#pragma once

#include "support/Json.h"

#include <string>

namespace torvo::probe {

/// Answers one line of the protocol: an object {"op": NAME, "in": {…}}. The answer is {"out": …} or {"error": text}.
[[nodiscard]] Json answer(const std::string& line);

} // namespace torvo::probe
