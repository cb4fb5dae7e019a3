#include "execution/ProcessRunner.h"

#include "execution/CapturedOutput.h"
#include "linux/LinuxProcessHost.h"
#include "tests/support/Memory.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

using namespace torvo;
using namespace torvo::testing;

namespace {

class ProcessRunnerTest : public ::testing::Test {
  protected:
    ProcessResult zsh(const std::string& script, const std::vector<std::string>& files = {},
                      const std::optional<FileURL>& folder = std::nullopt) {
        std::vector<std::string> arguments{"-c", script, "torvo"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        return m_runner.run({.executable = "/bin/zsh", .arguments = arguments, .workingFolder = folder});
    }

    LinuxProcessHost m_host;
    ProcessRunner m_runner{m_host};
};

} // namespace

TEST_F(ProcessRunnerTest, ReturnsBothStreamsAndTheStatusOfEveryKindOfEnd) {
    const auto result = zsh("print -n out; print -n err >&2; exit 3");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.standardOutput.text(), "out");
    EXPECT_EQ(result.standardError.text(), "err");

    EXPECT_EQ(zsh("true").status, 0);
    EXPECT_EQ(zsh("kill -KILL $$").status, 128 + SIGKILL);
    EXPECT_EQ(zsh("kill -TERM $$").status, 128 + SIGTERM);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "every child is reaped";
}

TEST_F(ProcessRunnerTest, GivesChildrenAnInputAtItsEndAndTheFolderAskedFor) {
    const TemporaryFolder folder;
    EXPECT_EQ(zsh("cat; pwd", {}, folder.url()).standardOutput.text(), folder.path() + "\n");
    std::string here(4096, '\0');
    ASSERT_NE(::getcwd(here.data(), here.size()), nullptr);
    EXPECT_EQ(zsh("pwd").standardOutput.text(), std::string(here.c_str()) + "\n");
}

TEST(ChildPath, PutsTheHomebrewFoldersBeforeWhatIsInherited) {
    EXPECT_EQ(childPath("/usr/bin:/bin"), "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin");
    EXPECT_EQ(childPath("/opt/homebrew/bin:/usr/bin"), "/opt/homebrew/bin:/usr/local/bin:/opt/homebrew/bin:/usr/bin");
    EXPECT_EQ(childPath(""), "/opt/homebrew/bin:/usr/local/bin:");
    EXPECT_EQ(childPath(std::nullopt), "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");

    using Texts = std::vector<std::string>;
    EXPECT_EQ(childEnvironment({"A=1", "PATH=/x", "PATHS=2", "PATH=/y", "odd"}),
              (Texts{"A=1", "PATH=/opt/homebrew/bin:/usr/local/bin:/x", "PATHS=2", "odd"}));
    EXPECT_EQ(childEnvironment({"A=PATH="}),
              (Texts{"A=PATH=", "PATH=/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin"}));
}

TEST_F(ProcessRunnerTest, HandsOnItsEnvironmentWithTheLongerPath) {
    const std::string path = ::getenv("PATH");
    ::setenv("TORVO_TEST_VARIABLE", "a\nb \xFF", 1);
    const auto environment = [this] {
        return std::string(m_runner.run({.executable = "/usr/bin/env", .arguments = {"-0"}}).standardOutput.bytes());
    };
    const std::string inherited = environment();
    ::unsetenv("PATH");
    const std::string without = environment();
    ::setenv("PATH", path.c_str(), 1);
    ::unsetenv("TORVO_TEST_VARIABLE");

    EXPECT_NE(inherited.find(std::string("TORVO_TEST_VARIABLE=a\nb \xFF\0", 26)), std::string::npos);
    EXPECT_NE(inherited.find("PATH=/opt/homebrew/bin:/usr/local/bin:" + path + '\0'), std::string::npos);
    EXPECT_NE(without.find(std::string("PATH=/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin\0", 68)),
              std::string::npos);
}

TEST_F(ProcessRunnerTest, ExplainsInOneLineWhyNothingStarted) {
    const TemporaryFolder folder;
    const std::string text = folder.file("text", "not a program").path();
    struct Row {
        ProcessRequest request;
        std::string explanation;
    };
    const Row rows[] = {
        {{.executable = "/usr/bin/nope"}, "/usr/bin/nope: No such file or directory"},
        {{.executable = folder.path()}, folder.path() + ": Permission denied"},
        {{.executable = text}, text + ": Permission denied"},
        {{.executable = "/bin/zsh", .workingFolder = folder / "gone"},
         "cannot work in the folder " + folder.path() + "/gone: No such file or directory"},
        {{.executable = "/bin/zsh", .workingFolder = FileURL(text)},
         "cannot work in the folder " + text + ": Not a directory"},
    };
    for (const Row& row : rows) {
        const auto result = m_runner.run(row.request);
        EXPECT_EQ(result.status, -1);
        EXPECT_EQ(result.standardError.text(), row.explanation);
        EXPECT_EQ(result.standardOutput.bytes(), "");
        EXPECT_FALSE(result.confinementUnavailable);
    }
    EXPECT_EQ(zsh("print -n fine").standardOutput.text(), "fine") << "the next run is not harmed";
}

TEST_F(ProcessRunnerTest, TakesInLargeOutputOnBothStreamsAtOnceWithoutWasteOfMemory) {
    constexpr std::size_t kSize = 200'000'000;
    const std::size_t before = residentBytes();
    const auto result =
        zsh("head -c 200000000 /dev/zero | tr '\\0' e >&2 & head -c 200000000 /dev/zero | tr '\\0' o; wait");
    const std::size_t taken = residentBytes() - before;
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.standardOutput.text().size(), kSize);
    EXPECT_EQ(result.standardError.text().size(), kSize);
    EXPECT_EQ(result.standardOutput.bytes().find_first_not_of('o'), std::string_view::npos);
    EXPECT_EQ(result.standardError.bytes().find_first_not_of('e'), std::string_view::npos);
    if (kMemoryIsOurOwn) {
        EXPECT_LE(taken, 2 * kSize / 10 * 12);
    }
}

TEST_F(ProcessRunnerTest, EndsARunWhoseOutputDoesNotFitIntoMemory) {
    if (!kMemoryIsOurOwn)
        GTEST_SKIP() << "a sanitizer uses memory too";
    ProcessResult result;
    {
        const MemoryLimit limit(std::size_t{64} << 20);
        result = zsh("sleep 300 & yes");
    }
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.standardError.text(), "not enough memory for the output of /bin/zsh");
    EXPECT_EQ(result.standardOutput.bytes(), "");
}

TEST_F(ProcessRunnerTest, ReadsOnUntilTheChildAndAllThatHoldItsStreamsAreDone) {
    // The shell ends at once; a job in the background goes on and has more to say.
    const auto left = zsh("(sleep 0.2; print -n late) & print -n early\\ ");
    EXPECT_EQ(left.standardOutput.text(), "early late");
    EXPECT_EQ(left.status, 0);
    // Both streams close at once; the child goes on and has a status to give.
    EXPECT_EQ(zsh("exec >&- 2>&-; sleep 0.2; exit 9").status, 9);
}

TEST(CapturedOutput, KeepsEveryByteThroughEverySizeAtWhichItsMemoryMoves) {
    CapturedOutput output;
    std::string expected;
    // Odd lengths, so that pieces straddle pages, up to well past the change to huge pages.
    for (std::size_t i = 0; expected.size() < (std::size_t{70} << 20); ++i) {
        const std::string piece(i * 1237 % 600'011 + 1, static_cast<char>('a' + i % 26));
        ASSERT_TRUE(output.buffer().append(piece));
        expected += piece;
    }
    EXPECT_TRUE(output.bytes() == expected);
    const CapturedOutput moved = std::move(output);
    EXPECT_TRUE(moved.text() == expected);
}

TEST(CapturedOutput, HasNoTextWhenItsBytesAreNotUTF8) {
    EXPECT_EQ(CapturedOutput("caf\u00E9").text(), "caf\u00E9");
    const CapturedOutput output("caf\xE9");
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(output.bytes(), "caf\xE9");
}

TEST(CapturedOutput, ReportsThatThereIsNoMemoryAndKeepsWhatItHas) {
    if (!kMemoryIsOurOwn)
        GTEST_SKIP() << "a sanitizer uses memory too";
    CapturedOutput output("kept");
    {
        const MemoryLimit limit(std::size_t{64} << 20);
        EXPECT_TRUE(output.buffer().prepare(std::size_t{500} << 20).empty());
    }
    EXPECT_TRUE(output.buffer().prepare(~std::size_t{0}).empty());
    EXPECT_EQ(output.bytes(), "kept");
    EXPECT_TRUE(output.buffer().append(", and more"));
    EXPECT_EQ(output.bytes(), "kept, and more");
}
