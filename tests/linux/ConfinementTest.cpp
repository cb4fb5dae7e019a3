#include "linux/Confinement.h"

#include "linux/LandlockRules.h"
#include "tests/support/Bystanders.h"
#include "tests/support/ConfinedRun.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace torvo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<std::string> kHarmlessCommands = {
    // Listings
    "ls",
    "ls -lA --color=always",
    "ls -lt --time-style=full-iso | head -3",
    "ls -l /dev/null /proc/self/mounts /etc | sort -k5n | tail -3",
    "ls /nowhere",
    "find .",
    "find . -type f -size -1M -newer b.txt",
    "find . -type f -exec stat -c '%n %s %a' {} \\;",
    "find . -maxdepth 1 -name '*.txt' -print0 | tr '\\0' '\\n' | sort -r",
    "find . -name 'b*' -o -type d -empty -ls",
    "find / -maxdepth 1 | sort | wc -l",
    "find . -printf '%p %y %m %u %g %n\\n'",
    "stat -c '%A %U %G %s %n' *",
    "stat -f -c %T .",
    "du -sb dir a.txt",
    "file *",
    "wc -l *.txt",
    "grep -rn be .",
    "grep -c nothing a.txt",
    "egrep '^(al|be)' a.txt",
    "awk '{ n += length($0) } END { print n }' a.txt",
    "awk '{ print $1 > \"/dev/stdout\" }' a.txt",
    "awk 'BEGIN { while ((\"ls\" | getline line) > 0) print line }'",
    "sort a.txt b.txt | uniq -c | sort -rn",
    "cut -c1-3 a.txt | tr a-z A-Z",
    "head -c 5 a.txt; tail -n 1 a.txt",
    "readlink -f link; realpath dir/../link",
    "md5sum a.txt; cmp a.txt b.txt",
    "lsattr -d dir",
    "df --output=target . ",
    "id; whoami; umask; pwd; ulimit -c -H > /dev/null; nproc",
    // The selection and previews
    "print -l -- $0 $# $@",
    "for f in \"$@\"; do printf '%s\\t%s\\n' \"$f\" \"$(dirname \"$f\")/new-$(basename \"$f\")\"; done",
    "i=1; for f in \"$@\"; do printf '%s\\t%s/%03d.txt\\n' \"$f\" \"$(dirname \"$f\")\" $i; i=$((i+1)); done",
    "for f in \"$@\"; do echo \"$f\t${f:h}/${(U)f:t:r}.${f:e}\"; done",
    "printf '%s\\n' **/*(.) *(om[1]) *(/)",
    // Temporary files of the shell and of sort
    "cat <<END\nhere $1\nEND",
    "cat <<< 'here'",
    "cat =(print one) =(print two)",
    "sort =(print b; print a)",
    "diff =(sort a.txt) <(sort b.txt)",
    "cat <(ls) <(print x)",
    "print hi > >(cat); wait",
    "seq 300000 | sort -R --random-source=/etc/passwd -S 1M | tail -1 | wc -l",
    "seq 300000 | sort -rn -S 1M | head -2",
    "f=$(mktemp); print hi > $f; cat $f; rm $f",
    "perl -MFile::Temp=tempfile -e '($h, $n) = tempfile UNLINK => 1; print $h qq(hi\\n); close $h; print -s $n'",
    // Pipelines, jobs and statuses
    "yes | head -2",
    "yes 2>/dev/null | head -1; print $pipestatus",
    "print hi > /dev/null; print err >&2 2>/dev/null; print -u2 err",
    "ls nowhere 2>/dev/null || print none",
    "(sleep 0.05; print late) & print early; wait; print $?",
    "sleep 0.02 & sleep 0.01 & wait; print done",
    "(exit 3) & wait $!; print $?",
    "sleep 100 & p=$!; kill -0 $p && print alive",
    "coproc cat; print -p hi; read -p x; print $x",
    "cat; print $?",
    "exit 7",
    "nowhere-to-be-found",
    "perl -e 'print -t STDIN ? 1 : 0, $$ > 0, `echo sub`'",
    "setopt nullglob; print -l *.none; print end",
    "zmodload zsh/stat zsh/datetime; zstat +size a.txt",
    "nice -n 5 nice",
    "timeout 5 echo in time",
    "exec 3< a.txt; read -u 3 line; print $line; cat <&3",
};

class ConfinedCommand : public ::testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        if (!confinementWorks())
            GTEST_SKIP() << "this machine cannot confine";
    }
};

TEST_P(ConfinedCommand, HarmlessCommandsSayTheSameConfinedAsUnconfined) {
    testing::Bystanders bystanders;
    for (const std::string& command : kHarmlessCommands) {
        const auto confinement = PreparedConfinement::prepare(GetParam());
        ASSERT_TRUE(confinement) << confinement.error();
        const auto free = testing::runShell({command, bystanders.selection(), bystanders.folder()});
        const auto confined = testing::runShell({command, bystanders.selection(), bystanders.folder(), &*confinement});
        EXPECT_EQ(confined.status, free.status) << command;
        EXPECT_EQ(confined.output, free.output) << command;
        // Where the filter has to refuse signals, a program that catches SIGPIPE cannot end itself by it: sort then
        // complains of the broken pipe.
        if (GetParam() == PreparedConfinement::kNoLimit && landlockVersion() >= 6) {
            EXPECT_EQ(confined.errors, free.errors) << command;
        }
        EXPECT_TRUE(std::filesystem::is_empty(confinement->temporaryFolder())) << command;
    }
    EXPECT_THAT(bystanders.harm(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Landlock, ConfinedCommand, ::testing::Values(PreparedConfinement::kNoLimit, 1));

TEST_F(ConfinedCommand, TheCommandSeesNoDescriptorOfTheParent) {
    const int secret = ::open("/etc/passwd", O_RDONLY);
    ASSERT_GT(secret, 2);
    const auto confinement = PreparedConfinement::prepare();
    ASSERT_TRUE(confinement) << confinement.error();
    const auto outcome = testing::runShell(
        {.command = "exec find /proc/self/fd -type l -printf '%f %l\\n'", .confinement = &*confinement});
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("0 /dev/null"), Not(HasSubstr("passwd"))));
    ::close(secret);
}

TEST_F(ConfinedCommand, TemporaryFilesGoToAPrivateFolderThatIsGoneAfterwards) {
    std::string folder;
    {
        const auto confinement = PreparedConfinement::prepare();
        ASSERT_TRUE(confinement) << confinement.error();
        folder = confinement->temporaryFolder();
        EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
        EXPECT_THAT(confinement->environment({"A=1", "TMPDIR=/x", "TMPPREFIX=/y", "TMPDIRS=z"}),
                    ElementsAre("A=1", "TMPDIRS=z", "TMPDIR=" + folder, "TMPPREFIX=" + folder + "/zsh"));
        const auto outcome =
            testing::runShell({.command = "print hi > $TMPDIR/left; print =(print)", .confinement = &*confinement});
        EXPECT_THAT(outcome.output, ::testing::StartsWith(folder + "/zsh"));
        EXPECT_TRUE(std::filesystem::exists(folder + "/left"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(ConfinedCommand, ACrashLeavesNoCoreFile) {
    testing::TemporaryFolder folder;
    const auto confinement = PreparedConfinement::prepare();
    ASSERT_TRUE(confinement) << confinement.error();
    const auto outcome = testing::runShell({.command = "ulimit -c unlimited; print $(ulimit -Hc); kill -SEGV $$",
                                            .folder = folder.path(),
                                            .confinement = &*confinement});
    EXPECT_EQ(outcome.status, 128 + SIGSEGV);
    EXPECT_THAT(outcome.output, Not(HasSubstr("unlimited")));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(ConfinementElsewhere, AKernelWithoutLandlockIsToldInOneLine) {
    const auto confinement = PreparedConfinement::prepare(0);
    ASSERT_FALSE(confinement);
    EXPECT_THAT(confinement.error(), HasSubstr("Landlock"));
}

} // namespace
} // namespace torvo
