#pragma once

#include <string>
#include <string_view>

namespace torvo::testing {

/// Searching and replacing with ICU's regular-expression engine, as an oracle for the patterns that run on RE2.
[[nodiscard]] bool icuFinds(std::string_view pattern, std::string_view text);
[[nodiscard]] std::string icuReplacingAll(std::string_view pattern, std::string_view text,
                                          std::string_view replacement);

} // namespace torvo::testing
