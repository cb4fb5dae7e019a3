#include "model/CommandSafety.h"

#include "support/Text.h"

#include <re2/re2.h>

#include <algorithm>
#include <array>
#include <optional>
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

const RE2& overwriteFlag() {
    static const RE2& pattern = compiled("(?:^|[@space])-y(?:[@space]|$)");
    return pattern;
}

const RE2& sedInPlace() {
    static const RE2& pattern = compiled(R"((?:^|[^@word@extender])[@extender]*sed)"
                                         R"((?:[^@word@extender\n;|][^\n;|]*)?[@space]-i(?:[@space]|$))");
    return pattern;
}

const RE2& execProgram() {
    static const RE2& pattern = compiled("-exec[@space]+([^@space;]+)");
    return pattern;
}

const RE2& sortOutput() {
    static const RE2& pattern = compiled("(?:^|[@space])(?:-o|--output)(?:[@space]|=|$)");
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

/// A constant set of words, sorted at compile time.
template <std::size_t count>
class WordSet {
  public:
    constexpr explicit WordSet(std::array<std::string_view, count> words) : m_words(words) {
        std::ranges::sort(m_words);
    }
    [[nodiscard]] bool contains(std::string_view word) const { return std::ranges::binary_search(m_words, word); }

  private:
    std::array<std::string_view, count> m_words;
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

std::string strippingSpans(std::string_view text, char quote) {
    std::string result;
    result.reserve(text.size());
    while (true) {
        const auto open = text.find(quote);
        const auto close = open == std::string_view::npos ? open : text.find(quote, open + 1);
        if (close == std::string_view::npos)
            return result.append(text);
        result.append(text.substr(0, open)).push_back(' ');
        text.remove_prefix(close + 1);
    }
}

/// The last component of a path-like word: "rm" of "/bin/rm" and of "rm/".
std::string_view lastComponent(std::string_view word) {
    while (word.size() > 1 && word.back() == '/')
        word.remove_suffix(1);
    const auto slash = word.rfind('/');
    return slash == std::string_view::npos || word.size() == 1 ? word : word.substr(slash + 1);
}

bool isASCIIWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
           c == '/' || c == '-';
}

/// The length in bytes of the user-perceived character at `offset`.
std::size_t characterLength(std::string_view text, std::size_t offset) {
    auto end = offset + codePointAt(text, offset).length;
    while (end < text.size() && static_cast<unsigned char>(text[end]) >= 0x80) {
        const auto next = codePointAt(text, end);
        if (!isExtender(next.value))
            break;
        end += next.length;
    }
    return end - offset;
}

/// The length in bytes of the word character at `offset`; 0 when the character there separates words.
std::size_t wordCharacterLength(std::string_view text, std::size_t offset) {
    const char c = text[offset];
    const bool isPlain = offset + 1 == text.size() || static_cast<unsigned char>(text[offset + 1]) < 0x80;
    if (static_cast<unsigned char>(c) < 0x80 && isPlain)
        return isASCIIWordCharacter(c) ? 1 : 0;
    const auto base = codePointAt(text, offset);
    const auto length = characterLength(text, offset);
    // A punctuation mark with an accent is another character than the mark.
    const bool isWord = isLetterOrNumber(base.value) || (base.value < 0x80 && length == 1 && isASCIIWordCharacter(c));
    return isWord ? length : 0;
}

/// Calls `visit` with each word of `text` until it answers true; whether it did.
template <typename Visit>
bool anyWord(std::string_view text, Visit visit) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto start = i;
        for (std::size_t length = 0; i < text.size() && (length = wordCharacterLength(text, i)) > 0;)
            i += length;
        if (i > start) {
            if (visit(text.substr(start, i - start)))
                return true;
        } else {
            i += characterLength(text, i);
        }
    }
    return false;
}

bool containsSubstitution(std::string withoutSingleQuotes) {
    if (!contains(withoutSingleQuotes, "$("))
        return false;
    RE2::GlobalReplace(&withoutSingleQuotes, arithmeticExpansion(), "");
    return contains(withoutSingleQuotes, "$(");
}

bool isReadOnlySegment(std::string_view segment, std::string_view wholeCommand) {
    std::optional<std::string_view> first;
    anyWord(segment, [&](std::string_view word) {
        first = word;
        return true;
    });
    if (!first)
        return false;
    const auto command = lastComponent(*first);
    if (!kReadOnlySelectionCommands.contains(command))
        return false;
    if (command == "find") {
        // "-ok" covers "-okdir".
        if (contains(segment, "-delete") || contains(segment, "-execdir") || contains(segment, "-ok"))
            return false;
        re2::StringPiece rest(segment.data(), segment.size());
        re2::StringPiece program;
        while (RE2::FindAndConsume(&rest, execProgram(), &program)) {
            if (lastComponent({program.data(), program.size()}) != "stat")
                return false;
        }
    }
    if (command == "sort" && found(sortOutput(), segment))
        return false;
    return command != "awk" || !contains(wholeCommand, "system(");
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

std::string strippingQuotedContent(std::string_view text) {
    return strippingSpans(strippingSpans(text, '\''), '"');
}

std::vector<std::string_view> shellLikeWords(std::string_view text) {
    std::vector<std::string_view> words;
    anyWord(text, [&](std::string_view word) {
        words.push_back(word);
        return false;
    });
    return words;
}

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
        std::size_t end = 0;
        for (std::size_t length = 0; end < word.size() && (length = wordCharacterLength(word, end)) > 0;)
            end += length;
        if (!kSafeSubstitutionCommands.contains(lastComponent(word.substr(0, end))))
            return false;
        from = command.size() - word.size() + end;
    }
}

bool looksDestructive(std::string_view command, SafeSubstitutions substitutions) {
    const auto lower = lowercased(command);
    const auto withoutSingleQuotes = strippingSpans(lower, '\'');
    if (containsSubstitution(withoutSingleQuotes) &&
        (substitutions == SafeSubstitutions::rejected || !commandSubstitutionsAreSafe(command)))
        return true;
    if (contains(withoutSingleQuotes, "`"))
        return true;
    const auto unquoted = strippingSpans(withoutSingleQuotes, '"');
    if (contains(unquoted, ">") || contains(unquoted, "-delete") || contains(unquoted, ":(){"))
        return true;
    if (contains(lower, "ffmpeg") && found(overwriteFlag(), lower))
        return true;
    if (contains(lower, "sed") && found(sedInPlace(), lower))
        return true;
    return anyWord(lower, [](std::string_view word) { return kDestructiveCommands.contains(lastComponent(word)); });
}

std::vector<std::string> matches(std::string_view pattern, std::string_view text, int capture) {
    const RE2 expression(re2::StringPiece(pattern.data(), pattern.size()), RE2::Quiet);
    if (!expression.ok() || capture < 0 || capture > expression.NumberOfCapturingGroups())
        return {};
    std::vector<std::string> captured;
    std::vector<re2::StringPiece> groups(static_cast<std::size_t>(capture) + 1);
    const re2::StringPiece whole(text.data(), text.size());
    std::size_t from = 0;
    while (from <= text.size() && expression.Match(whole, from, text.size(), RE2::UNANCHORED, groups.data(),
                                                   static_cast<int>(groups.size()))) {
        const auto& group = groups.back();
        if (group.data() != nullptr)
            captured.emplace_back(group.data(), group.size());
        const auto end = static_cast<std::size_t>(groups[0].data() - text.data()) + groups[0].size();
        from = groups[0].empty() ? end + 1 : end;
    }
    return captured;
}

bool isProvablyReadOnlySelectionCommand(std::string_view command) {
    const auto lower = lowercased(command);
    const auto withoutSingleQuotes = strippingSpans(lower, '\'');
    auto unquoted = strippingSpans(withoutSingleQuotes, '"');
    if (unquoted.find_first_of("\n&><") != std::string::npos)
        return false;
    if (contains(withoutSingleQuotes, "`") || contains(withoutSingleQuotes, "$("))
        return false;
    for (std::size_t i = unquoted.find(';'); i != std::string::npos; i = unquoted.find(';', i + 1)) {
        if (i == 0 || unquoted[i - 1] != '\\')
            return false;
    }
    return std::ranges::all_of(split(unquoted, '|'), [&](std::string_view segment) {
        return !trimmedOf(segment, " \t").empty() && isReadOnlySegment(segment, lower);
    });
}

bool isSafePreviewCommand(std::string_view command) {
    const auto preview = trimmed(command, TextTrim::spacesAndLineBreaks);
    if (preview.empty() || looksDestructive(preview, SafeSubstitutions::allowed))
        return false;
    if (preview.find_first_of("\n|&><`") != std::string_view::npos || !commandSubstitutionsAreSafe(preview))
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

} // namespace torvo
