#include "support/Text.h"

#include <fmt/format.h>
#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

namespace torvo {

namespace {

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isSpace(std::int32_t c) {
    if (c < 0x80)
        return c == ' ' || c == '\t';
    return u_charType(c) == U_SPACE_SEPARATOR;
}

bool isTrimmed(std::int32_t c, TextTrim trim) {
    return isSpace(c) || (trim == TextTrim::spacesAndLineBreaks && isLineBreak(c));
}

/// Applies `convert` to each well-formed stretch of `text` and keeps the other bytes as they are.
template <typename Convert>
std::string convertingWellFormed(std::string_view text, Convert convert) {
    std::string result;
    result.reserve(text.size());
    icu::StringByteSink<std::string> sink(&result);
    std::size_t start = 0;
    std::size_t i = 0;
    const auto flush = [&](std::size_t end) {
        if (end > start)
            convert(icu::StringPiece(text.data() + start, static_cast<std::int32_t>(end - start)), sink);
    };
    while (i < text.size()) {
        const auto c = codePointAt(text, i);
        if (c.value < 0) {
            flush(i);
            result.append(text.substr(i, c.length));
            start = i + c.length;
        }
        i += c.length;
    }
    flush(text.size());
    return result;
}

std::string canonicalForm(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* nfc = icu::Normalizer2::getNFCInstance(status);
    return convertingWellFormed(text, [&](icu::StringPiece piece, icu::ByteSink& sink) {
        UErrorCode failure = U_ZERO_ERROR;
        nfc->normalizeUTF8(0, piece, sink, nullptr, failure);
    });
}

/// Whether a character beyond ASCII has a lower-case form.
bool hasOtherUpperCase(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto c = codePointAt(text, i);
        if (c.value >= 0x80 && u_tolower(c.value) != c.value)
            return true;
        i += c.length;
    }
    return false;
}

template <typename Replaced>
std::string replacingCharacters(std::string_view bytes, Replaced isReplaced) {
    std::string result;
    result.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const auto c = codePointAt(bytes, i);
        if (c.value < 0 || isReplaced(c.value))
            result += "\uFFFD";
        else
            result += bytes.substr(i, c.length);
        i += c.length;
    }
    return result;
}

} // namespace

CodePoint codePointAt(std::string_view text, std::size_t offset) {
    const auto first = static_cast<unsigned char>(text[offset]);
    if (first < 0x80)
        return {first, 1};
    const auto window = text.substr(offset, U8_MAX_LENGTH);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(window.data());
    std::int32_t position = 0;
    UChar32 c = 0;
    U8_NEXT(bytes, position, static_cast<std::int32_t>(window.size()), c);
    return {c, static_cast<std::size_t>(position)};
}

CodePoint codePointBefore(std::string_view text, std::size_t end) {
    const auto last = static_cast<unsigned char>(text[end - 1]);
    if (last < 0x80)
        return {last, 1};
    const auto window =
        text.substr(end - std::min<std::size_t>(end, U8_MAX_LENGTH), std::min<std::size_t>(end, U8_MAX_LENGTH));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(window.data());
    auto position = static_cast<std::int32_t>(window.size());
    UChar32 c = 0;
    U8_PREV(bytes, 0, position, c);
    return {c, window.size() - static_cast<std::size_t>(position)};
}

std::string lowercased(std::string_view text) {
    std::string result(text);
    unsigned char bits = 0;
    for (char& c : result) {
        bits |= static_cast<unsigned char>(c);
        c = static_cast<char>(c + ((c >= 'A' && c <= 'Z') ? 'a' - 'A' : 0));
    }
    // Most other texts hold no upper-case letter beyond ASCII; whoever has one changes by the simple mapping as well.
    if (bits < 0x80 || !hasOtherUpperCase(result))
        return result;
    return convertingWellFormed(text, [](icu::StringPiece piece, icu::ByteSink& sink) {
        UErrorCode failure = U_ZERO_ERROR;
        icu::CaseMap::utf8ToLower("", 0, piece, sink, nullptr, failure);
    });
}

std::string uppercased(std::string_view text) {
    return convertingWellFormed(text, [](icu::StringPiece piece, icu::ByteSink& sink) {
        UErrorCode failure = U_ZERO_ERROR;
        icu::CaseMap::utf8ToUpper("", 0, piece, sink, nullptr, failure);
    });
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
    if (a == b)
        return true;
    if (isASCII(a) && isASCII(b))
        return false;
    return canonicalForm(a) == canonicalForm(b);
}

bool canonicallyEqual(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    return std::ranges::equal(
        a, b, [](const std::string& left, const std::string& right) { return canonicallyEqual(left, right); });
}

std::string_view trimmedStart(std::string_view text, TextTrim trim) {
    while (!text.empty()) {
        const auto c = codePointAt(text, 0);
        if (!isTrimmed(c.value, trim))
            break;
        text.remove_prefix(c.length);
    }
    return text;
}

std::string_view trimmed(std::string_view text, TextTrim trim) {
    text = trimmedStart(text, trim);
    while (!text.empty()) {
        const auto c = codePointBefore(text, text.size());
        if (!isTrimmed(c.value, trim))
            break;
        text.remove_suffix(c.length);
    }
    return text;
}

std::string_view trimmedOf(std::string_view text, std::string_view characters) {
    const auto first = text.find_first_not_of(characters);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (true) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return pieces;
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string_view> splitNonEmpty(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    while (true) {
        const auto start = text.find_first_not_of(separators);
        if (start == std::string_view::npos)
            return pieces;
        text.remove_prefix(start);
        const auto end = std::min(text.find_first_of(separators), text.size());
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
}

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size();) {
        const auto c = codePointAt(text, i);
        if (isLineBreak(c.value)) {
            if (i > start)
                lines.push_back(text.substr(start, i - start));
            start = i + c.length;
        }
        i += c.length;
    }
    if (start < text.size())
        lines.push_back(text.substr(start));
    return lines;
}

std::string joined(const std::vector<std::string>& pieces, std::string_view separator) {
    return fmt::format("{}", fmt::join(pieces, separator));
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    UErrorCode failure = U_ZERO_ERROR;
    UText* reader = utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &failure);
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), failure));
    if (U_SUCCESS(failure))
        characters->setText(reader, failure);
    std::int32_t end = 0;
    for (std::size_t i = 0; i < count && U_SUCCESS(failure) && end != icu::BreakIterator::DONE; ++i)
        end = characters->next();
    utext_close(reader);
    return end == icu::BreakIterator::DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

bool isLetterOrNumber(std::int32_t codePoint) {
    return codePoint >= 0 && (U_GET_GC_MASK(codePoint) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

bool isLineBreak(std::int32_t codePoint) {
    return (codePoint >= 0x0A && codePoint <= 0x0D) || codePoint == 0x85 || codePoint == 0x2028 || codePoint == 0x2029;
}

bool isWhiteSpace(std::int32_t codePoint) {
    return isTrimmed(codePoint, TextTrim::spacesAndLineBreaks);
}

bool isExtender(std::int32_t codePoint) {
    if (codePoint < 0x300)
        return false;
    const auto breaking = u_getIntPropertyValue(codePoint, UCHAR_GRAPHEME_CLUSTER_BREAK);
    return breaking == U_GCB_EXTEND || breaking == U_GCB_ZWJ || breaking == U_GCB_SPACING_MARK;
}

std::string printable(std::string_view bytes) {
    return replacingCharacters(bytes, [](std::int32_t) { return false; });
}

namespace {

/// Shows nothing by itself, so that two texts that differ in it alone may look the same.
/// Joiners and variation selectors shape the letters of scripts and emoji beside them.
bool isUnseen(std::int32_t codePoint) {
    constexpr std::int32_t kNonJoiner = 0x200C;
    constexpr std::int32_t kJoiner = 0x200D;
    return u_hasBinaryProperty(codePoint, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0 && codePoint != kNonJoiner &&
           codePoint != kJoiner && u_hasBinaryProperty(codePoint, UCHAR_VARIATION_SELECTOR) == 0;
}

} // namespace

std::string printableLine(std::string_view bytes) {
    return replacingCharacters(bytes, [](std::int32_t c) {
        return u_charType(c) == U_CONTROL_CHAR || isLineBreak(c) || u_hasBinaryProperty(c, UCHAR_BIDI_CONTROL) != 0 ||
               isUnseen(c);
    });
}

std::string counted(std::size_t count, std::string_view singular) {
    return fmt::format("{} {}{}", count, singular, count == 1 ? "" : "s");
}

} // namespace torvo
