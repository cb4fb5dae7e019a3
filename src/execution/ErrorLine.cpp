#include "execution/ErrorLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <utility>

namespace torvo {

namespace {

using namespace std::string_view_literals;

constexpr std::array kCauses = {"no such"sv,      "not found"sv, "invalid"sv,       "permission denied"sv,
                                "cannot"sv,       "unable"sv,    "does not"sv,      "could not"sv,
                                "unrecognized"sv, "no space"sv,  "already exists"sv};
constexpr std::array kErrorWord = {"error"sv};

/// Every newline character, in UTF-8.
constexpr std::array kNewlines = {"\n"sv, "\v"sv, "\f"sv, "\r"sv, "\u0085"sv, "\u2028"sv, "\u2029"sv};
/// The tab and every character of the category Zs (Unicode 15), in UTF-8.
constexpr std::array kBlanks = {"\t"sv,     " "sv,      "\u00A0"sv, "\u1680"sv, "\u2000"sv, "\u2001"sv,
                                "\u2002"sv, "\u2003"sv, "\u2004"sv, "\u2005"sv, "\u2006"sv, "\u2007"sv,
                                "\u2008"sv, "\u2009"sv, "\u200A"sv, "\u202F"sv, "\u205F"sv, "\u3000"sv};

std::string_view trimmed(std::string_view line) {
    const auto trimOnce = [&line] {
        for (const auto blank : kBlanks) {
            if (line.starts_with(blank)) {
                line.remove_prefix(blank.size());
                return true;
            }
            if (line.ends_with(blank)) {
                line.remove_suffix(blank.size());
                return true;
            }
        }
        return false;
    };
    while (trimOnce()) {
    }
    return line;
}

/// Takes the last line, without its newline character, off `text`.
std::string_view takeLastLine(std::string_view& text) {
    for (std::size_t at = text.size(); at > 0; --at)
        for (const auto newline : kNewlines)
            if (text.substr(0, at).ends_with(newline)) {
                const auto line = text.substr(at);
                text = text.substr(0, at - newline.size());
                return line;
            }
    return std::exchange(text, {});
}

/// Both lists of words hold nothing but ASCII letters that no other character is lower-cased to.
bool containsAny(std::string_view line, std::span<const std::string_view> words) {
    const auto lowered = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::any_of(
        words, [&](std::string_view word) { return !std::ranges::search(line, word, {}, lowered).empty(); });
}

/// The last line, trimmed, that has one of the words in it; with no words, the last that is not blank.
std::optional<std::string_view> lastLineWith(std::span<const std::string_view> words, std::string_view text) {
    while (!text.empty()) {
        const auto line = trimmed(takeLastLine(text));
        if (!line.empty() && (words.empty() || containsAny(line, words)))
            return line;
    }
    return std::nullopt;
}

} // namespace

std::string errorLine(std::string_view standardOutput, std::string_view standardError, std::int32_t status) {
    const auto text = standardError.empty() ? standardOutput : standardError;
    for (const std::span<const std::string_view> words :
         {std::span<const std::string_view>(kCauses), std::span<const std::string_view>(kErrorWord),
          std::span<const std::string_view>()})
        if (const auto line = lastLineWith(words, text))
            return std::string(*line);
    return fmt::format("exit code {}", status);
}

} // namespace torvo
