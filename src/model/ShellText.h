#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A command's text taken apart as far as judging it needs: no parser of the shell's language, but rules that any text
/// can be held against, in linear time.

/// Replaces every span between two `quote` characters, these included, by one space. Spans do not nest; an unmatched
/// quote stays.
void replaceQuotedSpans(std::string& text, char quote);

/// The text with every single-quoted span, then every double-quoted span, replaced by one space.
[[nodiscard]] std::string strippingQuotedContent(std::string_view text);

/// The length in bytes of the word that begins `text`; 0 when a separator does. Words are made of letters, numbers and
/// the characters "_./-".
[[nodiscard]] std::size_t wordLength(std::string_view text);

/// The length in bytes of the user-perceived character at `offset`.
[[nodiscard]] std::size_t characterLength(std::string_view text, std::size_t offset);

/// The words of the text, in order. The views point into `text`.
[[nodiscard]] std::vector<std::string_view> shellLikeWords(std::string_view text);

/// The last component of a path-like word: "rm" of "/bin/rm" and of "rm/".
[[nodiscard]] std::string_view lastComponent(std::string_view word);

/// Calls `visit` with each word of `text` until it answers true; whether it did.
template <typename Visit>
bool anyWord(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const auto length = wordLength(text);
        if (length > 0 && visit(text.substr(0, length)))
            return true;
        text.remove_prefix(length > 0 ? length : characterLength(text, 0));
    }
    return false;
}

} // namespace torvo
