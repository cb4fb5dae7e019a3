#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
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

/// Which of the bytes that a stretch of a text begins with make words.
struct WordMask {
    /// How many bytes are told about; 0 when the first of them needs to be looked at as a Unicode character.
    std::size_t length = 0;
    /// Bit i: byte i is part of a word.
    std::uint64_t bits = 0;
};

/// Tells words from separators for up to 64 ASCII bytes at once. The byte before another character is not told about:
/// an accent may follow.
[[nodiscard]] WordMask wordMask(std::string_view text);

/// Calls `visit` with each word of `text` until it answers true; whether it did.
template <typename Visit>
bool anyWord(std::string_view text, Visit visit) {
    std::size_t start = 0;
    bool isInWord = false;
    for (std::size_t position = 0; position < text.size();) {
        const auto [length, bits] = wordMask(text.substr(position));
        if (length == 0) {
            if (!isInWord)
                start = position;
            const auto word = text.substr(start, wordLength(text.substr(start)));
            if (!word.empty() && visit(word))
                return true;
            position = start + (word.empty() ? characterLength(text, start) : word.size());
            isInWord = false;
            continue;
        }
        // A set bit where a word begins, and one just behind its end.
        auto edges = bits ^ (bits << 1 | (isInWord ? 1U : 0U));
        if (length < 64)
            edges &= (std::uint64_t{1} << length) - 1;
        for (; edges != 0; edges &= edges - 1) {
            const auto edge = position + static_cast<std::size_t>(std::countr_zero(edges));
            if (isInWord && visit(text.substr(start, edge - start)))
                return true;
            isInWord = !isInWord;
            start = edge;
        }
        position += length;
    }
    return isInWord && visit(text.substr(start));
}

} // namespace torvo
