#include "execution/ErrorLine.h"

#include "support/Text.h"

#include <fmt/format.h>
#include <re2/re2.h>

#include <optional>
#include <utility>

namespace torvo {

namespace {

/// How much of a line is told, in bytes: a line may be the whole of a flood.
constexpr std::size_t kLongestLine = 2000;

/// A pattern of ASCII letters in either case. None of its letters is the lower case of another character.
const RE2& compiled(const char* words) {
    RE2::Options options;
    options.set_case_sensitive(false);
    options.set_encoding(RE2::Options::EncodingLatin1);
    return *new RE2(words, options);
}

const RE2& causes() {
    static const RE2& pattern = compiled("no such|not found|invalid|permission denied|cannot|unable|does not|could not|"
                                         "unrecognized|no space|already exists");
    return pattern;
}

const RE2& errorWord() {
    static const RE2& pattern = compiled("error");
    return pattern;
}

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

/// The last line, trimmed, in which the pattern is found; with no pattern, the last that is not blank.
std::optional<std::string_view> lastLineWith(const RE2* pattern, std::string_view text) {
    while (!text.empty()) {
        const auto line = trimmed(takeLastLine(text), TextTrim::spaces);
        if (!line.empty() &&
            (pattern == nullptr || RE2::PartialMatch(re2::StringPiece(line.data(), line.size()), *pattern)))
            return line;
    }
    return std::nullopt;
}

std::string shortened(std::string_view line) {
    if (line.size() <= kLongestLine)
        return std::string(line);
    std::size_t end = 0;
    for (auto next = end; next <= kLongestLine; next += codePointAt(line, next).length)
        end = next;
    return std::string(line.substr(0, end)) + "…";
}

} // namespace

std::string errorLine(std::string_view standardOutput, std::string_view standardError, std::int32_t status) {
    const auto text = standardError.empty() ? standardOutput : standardError;
    for (const RE2* pattern : {&causes(), &errorWord(), static_cast<const RE2*>(nullptr)}) {
        if (const auto line = lastLineWith(pattern, text))
            return shortened(*line);
    }
    return fmt::format("exit code {}", status);
}

} // namespace torvo
