#include "execution/ErrorLine.h"

#include "support/Text.h"

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

/// Takes the last line, without its line break, off `text`.
std::string_view takeLastLine(std::string_view& text) {
    for (std::size_t end = text.size(); end > 0;) {
        const auto c = codePointBefore(text, end);
        if (isLineBreak(c.value)) {
            const auto line = text.substr(end);
            text = text.substr(0, end - c.length);
            return line;
        }
        end -= c.length;
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
        const auto line = trimmed(takeLastLine(text), TextTrim::spaces);
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
