#include "model/CommandSafety.h"

#include "model/ShellText.h"

#include <gtest/gtest.h>

#include <string>

namespace torvo {
namespace {

using Words = std::vector<std::string_view>;

constexpr const char* kWorkedPreview =
    R"(i=1; for f in "$@"; do printf '%s\t%s\n' "$f" "$(dirname "$f")/$(printf '%03d' $i).${f##*.}"; i=$((i+1)); done)";

TEST(CommandSafety, JudgesWhatLooksDestructive) {
    struct Row {
        std::string command;
        bool strict;  // with every substitution rejected
        bool lenient; // with safe substitutions allowed
    };
    const Row rows[] = {
        {"ls -la", false, false},
        {"", false, false},
        {"rm -rf x", true, true},
        {"/bin/rm x", true, true},
        {"RM x", true, true},
        {"rm/ x", true, true},
        {"echo 'rm'", true, true},
        {"grep rm notes.txt", true, true},
        {"ls rm.txt", false, false},
        {"ls rm-notes", false, false},
        {"ls charm", false, false},
        {"x=rm", true, true},
        {"\u00E9;rm", true, true},
        {"ls \u00E9rm", false, false},
        {"ls e\u0301rm", false, false},
        {"ls ;\u0301rm", true, true},
        {"cp a b", true, true},
        {"find . | xargs ls", true, true},
        {"\u212Aill 1", true, true},
        {"echo $(date)", true, true},
        {"echo $(basename x)", true, false},
        {"echo '$(date)'", false, false},
        {"echo \"$(date)\"", true, true},
        {"i=$((i+1))", false, false},
        {"i=$((i+$(date)))", true, true},
        {"i=$(( $(echo 1) ))", true, false},
        {"i=$((rm))", true, true},
        {"i=$((a\u00A0b))", true, false},
        {"printf '%s\\n' $(basename x)", true, false},
        {"printf '%s\\n' $(cat x)", true, true},
        {"echo `date`", true, true},
        {"echo '`date`'", false, false},
        {"echo \"`date`\"", true, true},
        {"ffmpeg -i in.mov out.mp4", false, false},
        {"ffmpeg -i in.mov -y out.mp4", true, true},
        {"ffmpeg -y", true, true},
        {"ffmpeg -yes", false, false},
        {"ffmpeg\u00A0-y\u2003x", true, true},
        {"-y FFMPEG", true, true},
        {"sed -i '' 's/a/b/' f", true, true},
        {"sed 's/a/b/' f", false, false},
        {"sed -n p -i", true, true},
        {"sed\n-i x", true, true},
        {"sed -n p; grep -i x", false, false},
        {"used -i x", false, false},
        {"sed-x -i y", true, true},
        {"sed\u0301 -i x", false, false},
        {"sed -i.bak x", false, false},
        {"find . -name x -delete", true, true},
        {"find . '-delete'", false, false},
        {"cat a > b", true, true},
        {"echo 'a > b' \"c > d\"", false, false},
        {"echo 'a;>' \"b;>\" > f", true, true},
        {"echo it's > b", true, true},
        {":(){ :|:& };:", true, true},
        {kWorkedPreview, true, false},
        {"\xFF > x", true, true},
        {"'\xFF>' ls", false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(looksDestructive(row.command, SafeSubstitutions::rejected), row.strict) << row.command;
        EXPECT_EQ(looksDestructive(row.command, SafeSubstitutions::allowed), row.lenient) << row.command;
    }
    for (const char* word :
         {"rm",     "rmdir",    "trash", "sudo",  "dd",        "mkfs",      "shred",  "mv",       "cp",       "install",
          "touch",  "truncate", "chmod", "chown", "chflags",   "ln",        "unlink", "diskutil", "shutdown", "reboot",
          "kill",   "killall",  "tee",   "xargs", "sh",        "bash",      "zsh",    "fish",     "eval",     "source",
          "python", "python3",  "perl",  "ruby",  "node",      "osascript", "swift",  "curl",     "wget",     "nc",
          "ncat",   "ssh",      "scp",   "rsync", "launchctl", "defaults",  "plutil", "sqlite3"})
        EXPECT_TRUE(looksDestructive(std::string("/x/") + word + " a")) << word;
}

TEST(CommandSafety, ProvesListingsReadOnly) {
    const std::pair<std::string, bool> rows[] = {
        {"find . -maxdepth 1 -size +10M", true},
        {"ls -t | head -5", true},
        {"/usr/bin/find . | /bin/grep x", true},
        {"find . -name '*.png' -exec stat -f %z {} \\;", true},
        {"find . -name '*.png' -exec rm {} \\;", false},
        {"find . -exec /usr/bin/stat {} \\; -exec  rm {} \\;", false},
        {"find . -execdir stat {} \\;", false},
        {"find . -ok stat {} \\;", false},
        {"find . -okdir stat {} \\;", false},
        {"find . -delete", false},
        {"find . '-delete'", true},
        {"ls '-delete' find", true},
        {"ls; rm x", false},
        {"ls \\; x", true},
        {"ls \\;; x", false},
        {"ls 'a;b|c>d&e' \"f;g\"", true},
        {"ls || echo", false},
        {"| ls", false},
        {"ls |", false},
        {"ls | \t | wc", false},
        {"sort -o out.txt list", false},
        {"sort --output=x list", false},
        {"sort -n list", true},
        {"sort '-o' out list", true},
        {"awk '{system(\"x\")}' f", false},
        {"awk '{print $1}' f", true},
        {"ls 'system('", true},
        {"ls 'system(' | awk 1", false},
        {"cat x", false},
        {"mdfind -onlyin . 'kind:image'", true},
        {"ls\nls", false},
        {"ls '\n'", true},
        {"ls & ls", false},
        {"ls > x", false},
        {"wc < x", false},
        {"ls $(date)", false},
        {"ls \"$(date)\"", false},
        {"ls '$(date)'", true},
        {"ls `date`", false},
        {"ls $((1))", false},
        {"LS -LA", true},
        {"", false},
        {"''", false},
        {"x=1 ls", false},
        {"(ls)", true},
    };
    for (const auto& [command, isReadOnly] : rows)
        EXPECT_EQ(isProvablyReadOnlySelectionCommand(command), isReadOnly) << command;
}

TEST(CommandSafety, AcceptsOnlyPreviewsThatPrint) {
    std::string withMove = kWorkedPreview;
    withMove.replace(withMove.find("printf '%s"), 6, "mv");
    const std::pair<std::string, bool> rows[] = {
        {kWorkedPreview, true},
        {withMove, false},
        {"echo hi", true},
        {" \n echo hi \n", true},
        {"echo", true},
        {"echoes", false},
        {"i=1", false},
        {"i=1; printf x", true},
        {"for f in *; do echo \"$f\"; done", false},
        {"for f in $@; do echo \"$f\"; done", true},
        {"for\u00A0f in $@; do echo \"$f\"; done", false},
        {"for f in '$@'; do echo; done", true},
        {"for f in \"$@\" x; do echo; done", false},
        {"for f in \"$@\"; do do echo; done", false},
        {"if x; then echo; fi", false},
        {"then echo; else; fi", true},
        {"printf x > list", false},
        {"printf x | wc", false},
        {"printf x && printf y", false},
        {"printf x\nprintf y", false},
        {"printf 'x;y'", false},
        {"printf $(dirname x)$( /usr/bin/basename y)", true},
        {"printf $(cat x)", false},
        {"printf $()", false},
        {"   ", false},
        {"", false},
    };
    for (const auto& [command, isSafe] : rows)
        EXPECT_EQ(isSafePreviewCommand(command), isSafe) << command;
}

TEST(CommandSafety, JudgesOnlyTheCommandWordOfASubstitution) {
    const std::pair<const char*, bool> rows[] = {
        {"", true},
        {"a$b", true},
        {"$(dirname x) $(  /usr/bin/basename y)", true},
        {"$(\n\u00A0printf x)", true},
        {"$(dirname/ x)", true},
        {"$(Dirname x)", false},
        {"$(dirname-x)", false},
        {"$(", false},
        {"$(  ", false},
        {"$(\"dirname\")", false},
        {"$((1+2))", true},
        {"$(($(date)))", false},
        {"$(echo $(date))", false},
        {"'$(date)'", false},
    };
    for (const auto& [command, isSafe] : rows)
        EXPECT_EQ(commandSubstitutionsAreSafe(command), isSafe) << command;
}

TEST(CommandSafety, CutsTextIntoWordsAndQuotedSpans) {
    EXPECT_EQ(shellLikeWords("  a_b.c/d-e;f|(g)=h\u00E9 "), (Words{"a_b.c/d-e", "f", "g", "h\u00E9"}));
    EXPECT_EQ(shellLikeWords("e\u0301x \u0301y \u4E2D\u6587\u2460 \u2167"),
              (Words{"e\u0301x", "y", "\u4E2D\u6587\u2460", "\u2167"}));
    EXPECT_EQ(shellLikeWords("a-\u0301b"), (Words{"a", "b"})) << "an accented hyphen is no hyphen";
    EXPECT_EQ(shellLikeWords("a\xFF"
                             "b"),
              (Words{"a", "b"}));
    EXPECT_EQ(shellLikeWords(" \t'\"$ "), Words{});
    EXPECT_EQ(strippingQuotedContent("echo 'a > b' \"c ; d\" > e"), "echo     > e");
    EXPECT_EQ(strippingQuotedContent("it's \"x\""), "it's  ");
    EXPECT_EQ(strippingQuotedContent("'a\"b' \"c"), "  \"c");
    EXPECT_EQ(strippingQuotedContent("'\xFF\n'"), " ");
}

TEST(CommandSafety, CollectsWhatAGroupCaughtInEveryMatch) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(matches("-exec ([a-z]+)", "-exec stat -exec rm", 1), (Texts{"stat", "rm"}));
    EXPECT_EQ(matches("a(b)?", "ab a", 1), (Texts{"b"}));
    EXPECT_EQ(matches("x*", "ax", 0), (Texts{"", "x", ""}));
    EXPECT_EQ(matches("(", "x", 0), Texts{});
    EXPECT_EQ(matches("a", "a", 1), Texts{});
}

} // namespace
} // namespace torvo
