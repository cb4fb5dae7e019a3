#pragma once

#include <string>
#include <vector>

namespace torvo::bench {

/// A text of any length that a careless classifier would take long over: `unit` again and again between two ends.
struct AdversarialInput {
    std::string name;
    std::string start;
    std::string unit;
    std::string end;

    [[nodiscard]] std::string ofSize(std::size_t bytes) const {
        std::string text = start;
        while (text.size() + end.size() < bytes)
            text += unit;
        return text + end;
    }
};

/// Runs of everything on which the classification of commands turns.
inline std::vector<AdversarialInput> adversarialInputs() {
    return {
        {"single quotes", "", "'", ""},
        {"double quotes", "", "\"", ""},
        {"both quotes in turn", "", "'\"", ""},
        {"quoted words", "", "'a' \"b\" ", ""},
        {"an unmatched single quote", "'", "a ", ""},
        {"an unmatched double quote", "\"", "a ", ""},
        {"double quotes, the last unmatched", "\"", "\"\"", ""},
        {"substitutions", "", "$(", ""},
        {"quoted substitutions", "'", "$(", "'"},
        {"harmless substitutions", "", "$(echo a) ", ""},
        {"nested harmless substitutions", "", "$(echo ", ""},
        {"a substitution of white space", "$(", " ", ""},
        {"open arithmetic", "", "$((", ""},
        {"open arithmetic with a number", "", "$((1", ""},
        {"closed arithmetic", "", "$((1))", ""},
        {"half-closed arithmetic", "", "$((1) ", ""},
        {"one long arithmetic", "$((", "1+", "))"},
        {"backquotes in single quotes", "'", "`", "'"},
        {"-exec", "find . ", "-exec ", ""},
        {"-exec stat", "find . ", "-exec stat ", ""},
        {"-exec and spaces", "find . -exec", " ", ""},
        {"-exec without a space", "find . ", "-exec", ""},
        {"sed", "", "sed", ""},
        {"sed as words", "", "sed ", ""},
        {"sed with an option cut short", "", "sed -", ""},
        {"sed with options that only begin like it", "", "sed -ix ", ""},
        {"sed and one long word", "sed ", "x", ""},
        {"sed and accents", "", "sed\u0301", ""},
        {"accents before sed", "", "\u0301", "sed -i"},
        {"accented letters", "", "s\u0301", ""},
        {"-i after no sed", "", " -i", ""},
        {"one word", "", "a", ""},
        {"one word of other letters", "", "\u65E5\u00E9", ""},
        {"emoji joined", "", "\U0001F468\u200D", ""},
        {"bytes that are no text", "", "\xFF", ""},
        {"words", "", "word ", ""},
        {"semicolons", "", ";", ""},
        {"escaped semicolons", "find . ", "\\;", ""},
        {"bars", "", "|", ""},
        {"a long pipeline", "ls", "|ls", ""},
        {"a pipeline of find", "find", "|find -ok", ""},
        {"a pipeline of awk", "awk", "|awk", ""},
        {"a pipeline of sort", "sort", "|sort -", ""},
        {"-y and ffmpeg", "ffmpeg", " -y", "x"},
        {"-y before no ffmpeg", "", " -yx", " ffmpe"},
        {"ffmpeg", "", "ffmpeg", ""},
        {"assignments", "echo x", ";x=1", ""},
        {"printing", "echo x", ";echo x", ""},
        {"loops", "echo x", ";for f in \"$@\"; do echo; done", ""},
        {"do", "", "do ", ""},
        {"line breaks", "", "\n", ""},
        {"spaces", "", " ", ""},
        {"other spaces", "", "\u00A0\u2003", ""},
        {"slashes", "", "/", ""},
        {"paths", "", "/a/b/ ", ""},
    };
}

} // namespace torvo::bench
