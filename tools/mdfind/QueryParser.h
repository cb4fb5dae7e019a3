#pragma once

#include "Query.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace torvo::mdfind {

/// Reads a query: words that the name must contain, "kind:image", and quoted phrases; or, when it names an attribute
/// of the form "kMDItem...", an expression of comparisons with &&, ||, ! and parentheses. The error is one line.
[[nodiscard]] std::expected<Condition, std::string> parseQuery(std::string_view text);

/// A condition that the name contains `text`, in any case; a "*" in it stands for any text.
[[nodiscard]] Condition nameContaining(std::string_view text);

} // namespace torvo::mdfind
