#include "model/CommandSafety.h"
#include "model/ShellText.h"
#include "support/Text.h"

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace torvo {
namespace {

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

/// Searching and replacing with ICU's regular-expression engine, as an oracle for the patterns that run on RE2.
bool icuFinds(std::string_view pattern, std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto input = unicode(text);
    icu::RegexMatcher matcher(unicode(pattern), input, 0, status);
    EXPECT_TRUE(U_SUCCESS(status)) << pattern;
    return matcher.find() != 0;
}

std::string icuReplacingAll(std::string_view pattern, std::string_view text, std::string_view replacement) {
    UErrorCode status = U_ZERO_ERROR;
    const auto input = unicode(text);
    icu::RegexMatcher matcher(unicode(pattern), input, 0, status);
    std::string result;
    matcher.replaceAll(unicode(replacement), status).toUTF8String(result);
    EXPECT_TRUE(U_SUCCESS(status)) << pattern;
    return result;
}

constexpr const char* kSingleQuoted = "'[^']*'";
constexpr const char* kArithmetic = R"(\$\(\([A-Za-z0-9_+\-*/%<>=!&|?: \t]*\)\))";

bool has(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string strippedByICU(std::string_view text) {
    return icuReplacingAll("\"[^\"]*\"", icuReplacingAll(kSingleQuoted, text, " "), " ");
}

/// The checks that work by patterns, with ICU's engine on the patterns as they are documented.
bool patternsFire(std::string_view command) {
    const auto lower = lowercased(command);
    const auto withoutSingles = icuReplacingAll(kSingleQuoted, lower, " ");
    const auto stripped = strippedByICU(lower);
    return has(icuReplacingAll(kArithmetic, withoutSingles, ""), "$(") || has(withoutSingles, "`") ||
           has(stripped, ">") || has(stripped, "-delete") || has(stripped, ":(){") ||
           (has(lower, "ffmpeg") && icuFinds(R"((^|\s)-y(\s|$))", lower)) ||
           icuFinds(R"(\bsed\b[^\n;|]*\s-i(?:\s|$))", lower);
}

bool isReadOnlyByICU(std::string_view command) {
    const auto lower = lowercased(command);
    const auto withoutSingles = icuReplacingAll(kSingleQuoted, lower, " ");
    const auto stripped = strippedByICU(lower);
    if (stripped.find_first_of("\n&><") != std::string::npos || has(withoutSingles, "`") || has(withoutSingles, "$(") ||
        has(icuReplacingAll(R"(\\;)", stripped, ""), ";"))
        return false;
    constexpr std::array listings{"find", "ls", "sort", "awk", "stat"};
    return std::ranges::all_of(split(stripped, '|'), [&](std::string_view segment) {
        const auto words = shellLikeWords(segment);
        if (trimmedOf(segment, " \t").empty() || words.empty())
            return false;
        const auto command_ = words.front().substr(words.front().rfind('/') + 1);
        if (std::ranges::find(listings, command_) == listings.end())
            return false;
        if (command_ == "find" && (has(segment, "-delete") || has(segment, "-ok") || has(segment, "-execdir") ||
                                   icuFinds(R"(-exec\s+(?!stat(?:[\s;]|$))[^\s;])", segment)))
            return false;
        return (command_ != "sort" || !icuFinds(R"((^|\s)(-o|--output)(\s|=|$))", segment)) &&
               (command_ != "awk" || !has(lower, "system("));
    });
}

constexpr std::array kPieces{
    " ",       "  ",        "\t",      "\n",      "\u00A0",  "\u2028", "\u3000", "'",     "\"",       "\\",
    ";",       "|",         "&",       ">",       "<",       "`",      "$(",     "$((",   "))",       ")",
    "(",       "-y",        "-i",      "-i ",     "ffmpeg",  "sed",    "SED",    "sed ",  " sed",     "\u00E9",
    "\u0301",  "_",         "\u200D",  "\u203F",  "\u24B6",  "\u2460", "find",   "find ", "ls",       "ls ",
    "sort",    "awk",       "-exec ",  "-exec",   "stat",    "stat ",  "x",      "-o",    "--output", "=",
    "-delete", "-execdir",  "-ok",     "system(", ":(){",    "\\;",    "1+2",    "\r",    "\f",       "\v",
    "sort -n", "ls | sort", "awk '1'", "\u00AD",  "\u0300s", "\u212A", "\u017F"};

/// Commands thrown together from the pieces on which the classification turns. No piece holds a word of the
/// destructive list, so that only the patterns decide.
class Generator {
  public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    std::string command() {
        std::string text;
        const auto length = 1 + m_random() % 12;
        for (std::size_t i = 0; i < length; ++i)
            text += pick(m_random() % (kPieces.size() + 1));
        return text;
    }

  private:
    static const char* pick(std::size_t index) {
        return index < kPieces.size() ? kPieces.at(index) : "find . -exec stat {} \\;";
    }

    std::mt19937 m_random;
};

TEST(CommandSafety, AgreesWithIcusEngineOnGeneratedCommands) {
    Generator generator(20260421);
    std::size_t destructive = 0;
    std::size_t readOnly = 0;
    for (int i = 0; i < 60'000; ++i) {
        const auto command = generator.command();
        ASSERT_EQ(strippingQuotedContent(command), strippedByICU(command)) << command;
        ASSERT_EQ(looksDestructive(command), patternsFire(command)) << command;
        ASSERT_EQ(isProvablyReadOnlySelectionCommand(command), isReadOnlyByICU(command)) << command;
        destructive += looksDestructive(command) ? 1 : 0;
        readOnly += isProvablyReadOnlySelectionCommand(command) ? 1 : 0;
    }
    EXPECT_GT(destructive, 5'000U) << "the generator must reach both answers";
    EXPECT_LT(destructive, 55'000U);
    EXPECT_GT(readOnly, 200U);
}

} // namespace
} // namespace torvo
