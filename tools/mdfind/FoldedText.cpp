#include "FoldedText.h"

#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>

namespace torvo::mdfind {

namespace {

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

icu::UnicodeString withoutMarks(const icu::UnicodeString& text) {
    icu::UnicodeString plain;
    for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1))
        if (const UChar32 character = text.char32At(i); u_charType(character) != U_NON_SPACING_MARK)
            plain.append(character);
    return plain;
}

/// The size of the character at the start of a UTF-8 text.
std::size_t characterSize(std::string_view text) {
    std::size_t size = 1;
    while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        ++size;
    return size;
}

} // namespace

void foldInto(std::string& result, std::string_view text, Folding folding) {
    if (isAscii(text)) {
        result.assign(text);
        if (folding.ignoresCase)
            for (char& c : result)
                c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        return;
    }
    // Canonical caseless matching (The Unicode Standard, section 3.13), then composed, so that a letter is not found
    // inside the same letter with an accent.
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* decomposer = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* composer = icu::Normalizer2::getNFCInstance(status);
    icu::UnicodeString form = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    if (U_SUCCESS(status)) {
        form = decomposer->normalize(form, status);
        if (folding.ignoresDiacritics)
            form = withoutMarks(form);
        if (folding.ignoresCase)
            form.foldCase();
        form = composer->normalize(form, status);
    }
    result.clear();
    form.toUTF8String(result);
}

std::string folded(std::string_view text, Folding folding) {
    std::string result;
    foldInto(result, text, folding);
    return result;
}

bool matchesPattern(std::string_view text, std::string_view pattern) {
    std::size_t t = 0;
    std::size_t p = 0;
    // After a "*": where the pattern goes on, and how much of the text the star has taken.
    std::size_t afterStar = std::string_view::npos;
    std::size_t taken = 0;
    while (t < text.size() || p < pattern.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            taken = t;
            continue;
        }
        if (p < pattern.size() && t < text.size()) {
            if (pattern[p] == '?') {
                ++p;
                t += characterSize(text.substr(t));
                continue;
            }
            const std::size_t literal = pattern[p] == '\\' && p + 1 < pattern.size() ? p + 1 : p;
            if (pattern[literal] == text[t]) {
                p = literal + 1;
                ++t;
                continue;
            }
        }
        if (afterStar == std::string_view::npos || taken >= text.size())
            return false;
        taken += characterSize(text.substr(taken));
        t = taken;
        p = afterStar;
    }
    return true;
}

} // namespace torvo::mdfind
