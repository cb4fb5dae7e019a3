#include "model/CommandSafety.h"

#include "model/ShellText.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <re2/re2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ranges>
#include <utility>

namespace torvo {

namespace {

using namespace std::string_view_literals;

/// Compiles a pattern in which, inside brackets, @space, @word and @extender stand for the classes below. RE2's own \s
/// and \b know ASCII only.
const RE2& compiled(std::string pattern) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 3> classes{{
        // White space as ICU's \s has it: the property White_Space.
        {"@space", R"(\t-\r\x{85}\pZ)"},
        // What makes a word for ICU's \b: Alphabetic (the letters, the letter numbers and three blocks of circled and
        // squared letters), marks, decimal digits, connectors and the two joiners.
        {"@word", R"(\pL\p{Nl}\pM\p{Nd}\p{Pc}\x{200C}\x{200D}\x{24B6}-\x{24E9}\x{1F130}-\x{1F149})"
                  R"(\x{1F150}-\x{1F169}\x{1F170}-\x{1F189})"},
        // Characters that ICU's \b looks through: extenders and format characters.
        {"@extender", R"(\p{Mn}\p{Me}\p{Cf}\x{200C}\x{FF9E}\x{FF9F})"},
    }};
    for (const auto& [name, members] : classes) {
        for (auto at = pattern.find(name); at != std::string::npos; at = pattern.find(name, at + members.size()))
            pattern.replace(at, name.size(), members);
    }
    // Never freed, so that no order of destruction at exit can matter.
    return *new RE2(pattern, RE2::Quiet);
}

const RE2& arithmeticExpansion() {
    static const RE2& pattern = compiled(R"(\$\(\([A-Za-z0-9_+\-*/%<>=!&|?: \t]*\)\))");
    return pattern;
}

const RE2& sedInPlace() {
    static const RE2& pattern = compiled(R"((?:^|[^@word@extender])[@extender]*sed)"
                                         R"((?:[^@word@extender\n;|][^\n;|]*)?[@space]-i(?:[@space]|$))");
    return pattern;
}

const RE2& assignment() {
    static const RE2& pattern = compiled("^[A-Za-z_][A-Za-z0-9_]*=");
    return pattern;
}

const RE2& loopOverArguments() {
    static const RE2& pattern = compiled(R"(^for[@space]+[A-Za-z_][A-Za-z0-9_]*[@space]+in[@space]+["']?\$@["']?$)");
    return pattern;
}

bool found(const RE2& pattern, std::string_view text) {
    return RE2::PartialMatch(re2::StringPiece(text.data(), text.size()), pattern);
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

/// One scan for each character: there are few, and each scan is faster than comparing with all of them at once.
bool containsAnyOf(std::string_view text, std::string_view characters) {
    return std::ranges::any_of(characters, [&](char c) { return text.find(c) != std::string_view::npos; });
}

bool beginsWithWhiteSpace(std::string_view text) {
    return !text.empty() && isWhiteSpace(codePointAt(text, 0).value);
}

bool endsWithWhiteSpace(std::string_view text) {
    return !text.empty() && isWhiteSpace(codePointBefore(text, text.size()).value);
}

enum class OptionValue { none, afterEqualsSign };

/// Whether `option` stands in `text` between white space or the ends; with a value, "=" may follow it as well.
bool hasOption(std::string_view text, std::string_view option, OptionValue value = OptionValue::none) {
    for (auto at = text.find(option); at != std::string_view::npos; at = text.find(option, at + 1)) {
        const auto before = text.substr(0, at);
        const auto after = text.substr(at + option.size());
        const bool ends = after.empty() || beginsWithWhiteSpace(after) ||
                          (value == OptionValue::afterEqualsSign && after.starts_with('='));
        if (ends && (before.empty() || endsWithWhiteSpace(before)))
            return true;
    }
    return false;
}

/// A constant set of words of at least two letters. Most words that are not in it are told by their last two letters.
template <std::size_t count>
class WordSet {
  public:
    constexpr explicit WordSet(std::array<std::string_view, count> words) : m_words(words) {
        for (const auto word : words)
            m_endings.at(endingOf(word) / 64) |= std::uint64_t{1} << endingOf(word) % 64;
    }
    [[nodiscard]] bool contains(std::string_view word) const {
        return mayContain(word) && std::ranges::find(m_words, word) != m_words.end();
    }
    /// Whether the last component of a path-like word is in the set.
    [[nodiscard]] bool containsLastComponent(std::string_view word) const {
        return word.ends_with('/') ? contains(lastComponent(word)) : mayContain(word) && contains(lastComponent(word));
    }

  private:
    /// A number below 1024 for the last two letters.
    static constexpr std::size_t endingOf(std::string_view word) {
        const auto letters = word.substr(word.size() - 2);
        return (static_cast<unsigned char>(letters[0]) % 32U) * 32U + static_cast<unsigned char>(letters[1]) % 32U;
    }
    [[nodiscard]] bool mayContain(std::string_view word) const {
        return word.size() >= 2 && (m_endings[endingOf(word) / 64] >> endingOf(word) % 64 & 1) != 0;
    }

    std::array<std::string_view, count> m_words;
    /// Bit n is set when a word ends with the letters that `endingOf` numbers n.
    std::array<std::uint64_t, 16> m_endings{};
};

constexpr WordSet kDestructiveCommands(std::array{
    "rm"sv,     "rmdir"sv,    "trash"sv,    "sudo"sv,      "dd"sv,        "mkfs"sv,     "shred"sv,   "mv"sv,
    "cp"sv,     "install"sv,  "touch"sv,    "truncate"sv,  "chmod"sv,     "chown"sv,    "chflags"sv, "ln"sv,
    "unlink"sv, "diskutil"sv, "shutdown"sv, "reboot"sv,    "kill"sv,      "killall"sv,  "tee"sv,     "xargs"sv,
    "sh"sv,     "bash"sv,     "zsh"sv,      "fish"sv,      "eval"sv,      "source"sv,   "python"sv,  "python3"sv,
    "perl"sv,   "ruby"sv,     "node"sv,     "osascript"sv, "swift"sv,     "curl"sv,     "wget"sv,    "nc"sv,
    "ncat"sv,   "ssh"sv,      "scp"sv,      "rsync"sv,     "launchctl"sv, "defaults"sv, "plutil"sv,  "sqlite3"sv,
});

constexpr WordSet kSafeSubstitutionCommands(std::array{"printf"sv, "echo"sv, "dirname"sv, "basename"sv});

constexpr WordSet kReadOnlySelectionCommands(std::array{
    "find"sv,
    "ls"sv,
    "mdfind"sv,
    "stat"sv,
    "sort"sv,
    "head"sv,
    "tail"sv,
    "grep"sv,
    "egrep"sv,
    "fgrep"sv,
    "awk"sv,
    "cut"sv,
    "tr"sv,
    "uniq"sv,
    "wc"sv,
    "du"sv,
    "file"sv,
    "printf"sv,
});

constexpr WordSet kPreviewBlockWords(std::array{"done"sv, "fi"sv, "else"sv});

bool containsSubstitution(std::string_view withoutSingleQuotes) {
    if (!contains(withoutSingleQuotes, "$("))
        return false;
    if (!contains(withoutSingleQuotes, "$(("))
        return true;
    std::string withoutArithmetic(withoutSingleQuotes);
    RE2::GlobalReplace(&withoutArithmetic, arithmeticExpansion(), "");
    return contains(withoutArithmetic, "$(");
}

/// What capture group `capture` of `pattern` caught in each match over `text`.
std::vector<std::string> captured(const RE2& pattern, std::string_view text, int capture) {
    std::vector<std::string> texts;
    std::vector<re2::StringPiece> groups(static_cast<std::size_t>(capture) + 1);
    const re2::StringPiece whole(text.data(), text.size());
    std::size_t from = 0;
    while (from <= text.size() &&
           pattern.Match(whole, from, text.size(), RE2::UNANCHORED, groups.data(), static_cast<int>(groups.size()))) {
        const auto& group = groups.back();
        if (group.data() != nullptr)
            texts.emplace_back(group.data(), group.size());
        const auto end = static_cast<std::size_t>(groups[0].data() - text.data()) + groups[0].size();
        from = groups[0].empty() ? end + 1 : end;
    }
    return texts;
}

/// Whether find's "-exec" runs nothing but stat: each one's program, which white space parts from it, ends before white
/// space or ";".
bool executesOnlyStat(std::string_view segment) {
    constexpr std::string_view option = "-exec";
    for (auto at = segment.find(option); at != std::string_view::npos; at = segment.find(option)) {
        segment.remove_prefix(at + option.size());
        const auto program = trimmedStart(segment, TextTrim::spacesAndLineBreaks);
        if (program.size() == segment.size())
            continue;
        std::size_t length = 0;
        while (length < program.size() && program[length] != ';' && !beginsWithWhiteSpace(program.substr(length)))
            length += codePointAt(program, length).length;
        if (length > 0 && lastComponent(program.substr(0, length)) != "stat")
            return false;
        segment = program.substr(length);
    }
    return true;
}

/// `callsSystem`: the command mentions awk's system() anywhere.
bool isReadOnlySegment(std::string_view segment, bool callsSystem) {
    std::string_view command;
    anyWord(segment, [&](std::string_view word) {
        command = lastComponent(word);
        return true;
    });
    if (!kReadOnlySelectionCommands.contains(command))
        return false;
    if (command == "find") {
        // "-ok" covers "-okdir".
        if (contains(segment, "-delete") || contains(segment, "-execdir") || contains(segment, "-ok"))
            return false;
        return executesOnlyStat(segment);
    }
    if (command == "sort") {
        return !hasOption(segment, "-o", OptionValue::afterEqualsSign) &&
               !hasOption(segment, "--output", OptionValue::afterEqualsSign);
    }
    return command != "awk" || !callsSystem;
}

enum class PreviewStep { harmless, prints, refused };

PreviewStep classifyPreviewSegment(std::string_view segment) {
    segment = trimmed(segment, TextTrim::spacesAndLineBreaks);
    if (segment.starts_with("do "))
        segment.remove_prefix(3);
    if (segment.starts_with("then "))
        segment.remove_prefix(5);
    if (segment.empty() || kPreviewBlockWords.contains(segment))
        return PreviewStep::harmless;
    if (segment.starts_with("for "))
        return found(loopOverArguments(), segment) ? PreviewStep::harmless : PreviewStep::refused;
    if (found(assignment(), segment))
        return PreviewStep::harmless;
    const bool isPrinting =
        segment == "printf" || segment == "echo" || segment.starts_with("printf ") || segment.starts_with("echo ");
    return isPrinting ? PreviewStep::prints : PreviewStep::refused;
}

} // namespace

bool commandSubstitutionsAreSafe(std::string_view command) {
    std::size_t from = 0;
    while (true) {
        const auto opening = command.find("$(", from);
        if (opening == std::string_view::npos)
            return true;
        from = opening + 2;
        if (from < command.size() && command[from] == '(') {
            ++from;
            continue;
        }
        const auto word = trimmedStart(command.substr(from), TextTrim::spacesAndLineBreaks);
        const auto end = wordLength(word);
        if (!kSafeSubstitutionCommands.contains(lastComponent(word.substr(0, end))))
            return false;
        from = command.size() - word.size() + end;
    }
}

bool looksDestructive(std::string_view command, SafeSubstitutions substitutions) {
    const auto lower = lowercased(command);
    auto unquoted = lower;
    replaceQuotedSpans(unquoted, '\'');
    if (containsSubstitution(unquoted) &&
        (substitutions == SafeSubstitutions::rejected || !commandSubstitutionsAreSafe(command)))
        return true;
    if (contains(unquoted, "`"))
        return true;
    replaceQuotedSpans(unquoted, '"');
    if (contains(unquoted, ">") || contains(unquoted, "-delete") || contains(unquoted, ":(){"))
        return true;
    bool mayOverwrite = false;
    bool mayEditInPlace = false;
    const bool namesDestructiveCommand = anyWord(lower, [&](std::string_view word) {
        mayOverwrite |= word == "-y";
        mayEditInPlace |= word == "-i";
        return kDestructiveCommands.containsLastComponent(word);
    });
    return namesDestructiveCommand || (mayOverwrite && contains(lower, "ffmpeg") && hasOption(lower, "-y")) ||
           (mayEditInPlace && contains(lower, "sed") && found(sedInPlace(), lower));
}

std::vector<std::string> matches(std::string_view pattern, std::string_view text, int capture) {
    const RE2 expression(re2::StringPiece(pattern.data(), pattern.size()), RE2::Quiet);
    if (!expression.ok() || capture < 0 || capture > expression.NumberOfCapturingGroups())
        return {};
    return captured(expression, text, capture);
}

bool isProvablyReadOnlySelectionCommand(std::string_view command) {
    auto text = lowercased(command);
    const bool callsSystem = contains(text, "system(");
    replaceQuotedSpans(text, '\'');
    if (contains(text, "`") || contains(text, "$("))
        return false;
    replaceQuotedSpans(text, '"');
    if (text.empty() || containsAnyOf(text, "\n&><"))
        return false;
    for (auto i = text.find(';'); i != std::string::npos; i = text.find(';', i + 1)) {
        if (i == 0 || text[i - 1] != '\\')
            return false;
    }
    return std::ranges::all_of(std::views::split(text, '|'),
                               [&](auto segment) { return isReadOnlySegment(std::string_view(segment), callsSystem); });
}

bool isSafePreviewCommand(std::string_view command) {
    const auto preview = trimmed(command, TextTrim::spacesAndLineBreaks);
    if (preview.empty() || looksDestructive(preview, SafeSubstitutions::allowed))
        return false;
    if (containsAnyOf(preview, "\n|&><`") || !commandSubstitutionsAreSafe(preview))
        return false;
    bool prints = false;
    for (const auto segment : split(preview, ';')) {
        const auto step = classifyPreviewSegment(segment);
        if (step == PreviewStep::refused)
            return false;
        prints |= step == PreviewStep::prints;
    }
    return prints;
}

bool needsPermission(const Action& action) {
    return std::visit(
        Overloaded{
            [](const Shell& shell) { return shell.destructive || looksDestructive(shell.command); },
            [](const SelectByCommand& select) { return !isProvablyReadOnlySelectionCommand(select.command); },
            [](const auto&) { return false; },
        },
        action);
}

} // namespace torvo
