#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Texts are UTF-8. Bytes that are not UTF-8 are tolerated everywhere: they equal only themselves and belong to no
/// class of characters.

/// Which characters a trim takes away.
enum class TextTrim {
    /// Tab and the Unicode space separators (category Zs).
    spaces,
    /// These, and every line break: U+000A to U+000D, U+0085 and the separators U+2028 and U+2029.
    spacesAndLineBreaks,
};

/// One character of a text and the number of bytes that it takes. An ill-formed byte is a character of its own, with
/// the negative code -1.
struct CodePoint {
    std::int32_t value = -1;
    std::size_t length = 1;
};

/// The character that begins at byte `offset`, which must lie inside the text.
[[nodiscard]] CodePoint codePointAt(std::string_view text, std::size_t offset);

/// The character that ends before byte `end`, which must not be the beginning.
[[nodiscard]] CodePoint codePointBefore(std::string_view text, std::size_t end);

/// Full Unicode lower-casing by the rules of the root locale.
[[nodiscard]] std::string lowercased(std::string_view text);

/// Full Unicode upper-casing by the rules of the root locale.
[[nodiscard]] std::string uppercased(std::string_view text);

/// Equality by Unicode canonical equivalence: a letter with its accent equals the letter followed by the accent.
[[nodiscard]] bool canonicallyEqual(std::string_view a, std::string_view b);

/// The same for two lists, position by position.
[[nodiscard]] bool canonicallyEqual(const std::vector<std::string>& a, const std::vector<std::string>& b);

/// The part of `text` without the leading and trailing characters that `trim` names.
[[nodiscard]] std::string_view trimmed(std::string_view text, TextTrim trim);

/// The same for the leading characters alone.
[[nodiscard]] std::string_view trimmedStart(std::string_view text, TextTrim trim);

/// The part of `text` without leading and trailing bytes that are in `characters`, all ASCII.
[[nodiscard]] std::string_view trimmedOf(std::string_view text, std::string_view characters);

/// `text` split at every `separator`, empty pieces included; one empty piece for the empty text.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

/// `text` split at runs of the ASCII characters in `separators`, without empty pieces.
[[nodiscard]] std::vector<std::string_view> splitNonEmpty(std::string_view text, std::string_view separators);

/// `text` split at every line break (U+000A to U+000D, U+0085, U+2028, U+2029), without empty pieces.
[[nodiscard]] std::vector<std::string_view> splitLines(std::string_view text);

/// The pieces with `separator` between them.
[[nodiscard]] std::string joined(const std::vector<std::string>& pieces, std::string_view separator);

/// The first `count` user-perceived characters of the text (Unicode Standard Annex #29).
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t count);

/// A character of Unicode category L (letter) or N (number).
[[nodiscard]] bool isLetterOrNumber(std::int32_t codePoint);

/// A character of the Unicode property White_Space: a space, a tab or a line break.
[[nodiscard]] bool isWhiteSpace(std::int32_t codePoint);

/// A character that ends a line: U+000A to U+000D, U+0085, U+2028, U+2029.
[[nodiscard]] bool isLineBreak(std::int32_t codePoint);

/// A character that extends the one before it to one user-perceived character (Grapheme_Extend, ZWJ, spacing marks).
[[nodiscard]] bool isExtender(std::int32_t codePoint);

/// `bytes` with each ill-formed sequence replaced by U+FFFD: fit for showing and for JSON.
[[nodiscard]] std::string printable(std::string_view bytes);

/// `bytes` with control characters (line breaks and terminal escapes among them), those that turn the direction of
/// writing, and those that cannot be seen shown as U+FFFD as well, so that the text stays on one line, cannot drive a
/// terminal and reads as it is.
[[nodiscard]] std::string printableLine(std::string_view bytes);

/// "3 files", "1 file", "0 files": the plural is for every count but one.
[[nodiscard]] std::string counted(std::size_t count, std::string_view singular);

} // namespace torvo
