#pragma once

#include <string>
#include <string_view>

namespace torvo::mdfind {

/// Which differences between two texts do not count. Canonical equivalence never counts.
struct Folding {
    bool ignoresCase = false;
    bool ignoresDiacritics = false;
};

/// The text in a form in which texts that are the same under `folding` are the same bytes. Bytes that are not UTF-8
/// become U+FFFD.
[[nodiscard]] std::string folded(std::string_view text, Folding folding);

/// As above, into a buffer that is used again and again.
void foldInto(std::string& result, std::string_view text, Folding folding);

/// Whether the whole of `text` fits `pattern`: "*" stands for any text, "?" for one character, a backslash takes the
/// next character as it is. Both folded alike.
[[nodiscard]] bool matchesPattern(std::string_view text, std::string_view pattern);

} // namespace torvo::mdfind
