#include "model/ShellText.h"

#include "support/Text.h"

#include <algorithm>
#include <array>

namespace torvo {

namespace {

/// For each byte whether it is one of the ASCII characters that make words.
constexpr auto kASCIIWordCharacters = [] {
    std::array<bool, 256> table{};
    for (unsigned c = 0; c < 128; ++c)
        table.at(c) = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                      c == '.' || c == '/' || c == '-';
    return table;
}();

bool isASCII(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

bool isASCIIWordCharacter(char c) {
    return kASCIIWordCharacters[static_cast<unsigned char>(c)];
}

/// The length in bytes of the word character at `offset`; 0 when the character there separates words.
std::size_t wordCharacterLength(std::string_view text, std::size_t offset) {
    const char c = text[offset];
    const bool isPlain = offset + 1 == text.size() || isASCII(text[offset + 1]);
    if (isASCII(c) && isPlain)
        return isASCIIWordCharacter(c) ? 1 : 0;
    const auto base = codePointAt(text, offset);
    const auto length = characterLength(text, offset);
    // A punctuation mark with an accent is another character than the mark.
    const bool isWord = isLetterOrNumber(base.value) || (base.value < 0x80 && length == 1 && isASCIIWordCharacter(c));
    return isWord ? length : 0;
}

} // namespace

void replaceQuotedSpans(std::string& text, char quote) {
    auto kept = text.find(quote);
    auto close = kept == std::string::npos ? kept : text.find(quote, kept + 1);
    if (close == std::string::npos)
        return;
    // What is kept moves down over what is not: `kept` is where the next piece goes.
    while (true) {
        text[kept++] = ' ';
        const auto open = text.find(quote, close + 1);
        const auto next = open == std::string::npos ? open : text.find(quote, open + 1);
        const auto end = next == std::string::npos ? text.size() : open;
        std::copy(text.data() + close + 1, text.data() + end, text.data() + kept);
        kept += end - close - 1;
        if (next == std::string::npos)
            break;
        close = next;
    }
    text.resize(kept);
}

std::string strippingQuotedContent(std::string_view text) {
    std::string stripped(text);
    replaceQuotedSpans(stripped, '\'');
    replaceQuotedSpans(stripped, '"');
    return stripped;
}

std::size_t characterLength(std::string_view text, std::size_t offset) {
    auto end = offset + (isASCII(text[offset]) ? 1 : codePointAt(text, offset).length);
    while (end < text.size() && !isASCII(text[end])) {
        const auto next = codePointAt(text, end);
        if (!isExtender(next.value))
            break;
        end += next.length;
    }
    return end - offset;
}

std::size_t wordLength(std::string_view text) {
    std::size_t end = 0;
    while (true) {
        const auto start = end;
        while (end < text.size() && isASCIIWordCharacter(text[end]))
            ++end;
        if (end == text.size() || isASCII(text[end]))
            return end;
        // What follows may be an accent of the last of these.
        if (end > start)
            --end;
        const auto length = wordCharacterLength(text, end);
        if (length == 0)
            return end;
        end += length;
    }
}

WordMask wordMask(std::string_view text) {
    const auto size = std::min<std::size_t>(text.size(), 64);
    const auto stretch = text.substr(0, std::min(text.size(), size + 1));
    unsigned char all = 0;
    for (const char c : stretch)
        all |= static_cast<unsigned char>(c);
    WordMask mask{size, 0};
    if (all >= 0x80) {
        const auto other = static_cast<std::size_t>(std::ranges::find_if_not(stretch, isASCII) - stretch.begin());
        mask.length = other == 0 ? 0 : other - 1;
    }
    for (std::size_t i = 0; i < mask.length; ++i)
        mask.bits |= std::uint64_t{isASCIIWordCharacter(text[i])} << i;
    return mask;
}

std::vector<std::string_view> shellLikeWords(std::string_view text) {
    std::vector<std::string_view> words;
    anyWord(text, [&](std::string_view word) {
        words.push_back(word);
        return false;
    });
    return words;
}

std::string_view lastComponent(std::string_view word) {
    while (word.size() > 1 && word.back() == '/')
        word.remove_suffix(1);
    auto start = word.size();
    while (start > 0 && word[start - 1] != '/')
        --start;
    return word.size() == 1 ? word : word.substr(start);
}

} // namespace torvo
