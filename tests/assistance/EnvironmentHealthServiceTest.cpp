#include "assistance/EnvironmentHealthService.h"

#include "linux/LinuxProcessHost.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeFinder.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class EnvironmentHealthServiceTest : public ::testing::Test {
  protected:
    void program(const std::string& path, const std::string& script) {
        const auto file = folder.file(path, "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(file.path(), std::filesystem::perms::owner_all);
    }
    EnvironmentHealthService service() {
        return EnvironmentHealthService({dispatcher, processes, workspace, {first(), second()}});
    }
    [[nodiscard]] std::string first() const { return (folder / "first").path() + "/"; }
    [[nodiscard]] std::string second() const { return (folder / "second").path() + "/"; }
    std::string statusAfterInstalling(EnvironmentHealthService& health) {
        health.installMissing();
        EXPECT_TRUE(health.isInstalling());
        EXPECT_TRUE(dispatcher.runUntil([&] { return !health.isInstalling(); }));
        return health.status();
    }

    /// The process whose number brew wrote down.
    ProcessIdentity leftBehind() {
        const auto file = folder / "first/brew.pid";
        EXPECT_TRUE(testing::eventually([&] { return testing::readFile(file).ends_with('\n'); }));
        return processes.identity(std::stoi(testing::readFile(file))).value_or(ProcessIdentity{});
    }

    testing::TemporaryFolder folder;
    LinuxProcessHost processes;
    testing::FakeWorkspace workspace;
    testing::ManualDispatcher dispatcher;
};

TEST_F(EnvironmentHealthServiceTest, FindsToolsInItsFoldersInOrder) {
    program("second/gs", "");
    program("first/gs", "");
    (void)folder.file("first/qpdf", "not executable");
    (void)folder.folder("first/exiftool");
    program("second/exiftool", "");
    auto health = service();
    EXPECT_EQ(health.tools().size(), 8U);
    EXPECT_EQ(health.tools()[4], (ToolHealth{"gs", "PDF compression", "ghostscript", first() + "gs"}));
    EXPECT_EQ(health.tools()[5].path, std::nullopt);
    EXPECT_EQ(health.tools()[7].path, second() + "exiftool");
    EXPECT_THAT(health.missingPackages(), ElementsAre("ffmpeg", "imagemagick", "poppler", "qpdf"));
    program("first/qpdf", "");
    health.refresh();
    EXPECT_THAT(health.missingPackages(), ElementsAre("ffmpeg", "imagemagick", "poppler"));
}

TEST_F(EnvironmentHealthServiceTest, InstallsWhatIsMissing) {
    auto health = service();
    health.installMissing();
    EXPECT_EQ(health.status(), "Install Homebrew, then return here.");
    EXPECT_EQ(workspace.opened.size(), 1U);

    program("first/brew", "echo \"$*\" >&2; echo done; exit 3");
    health.installMissing();
    EXPECT_EQ(health.status(), "Installing exiftool, ffmpeg, ghostscript, imagemagick, poppler, qpdf…");
    ASSERT_TRUE(dispatcher.runUntil([&] { return !health.isInstalling(); }));
    EXPECT_EQ(health.status(), "Install failed: done");
    program("first/brew", "echo \"$*\" >&2; exit 1");
    EXPECT_EQ(statusAfterInstalling(health),
              "Install failed: install exiftool ffmpeg ghostscript imagemagick poppler qpdf");
    program("first/brew", "exit 1");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 1");
    program("first/brew", "printf '\\377\\n'; exit 2");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 2") << "what is no text cannot be shown";
    program("first/brew",
            "for tool in ffmpeg magick gs qpdf pdfunite exiftool; do cp \"$0\" \"$(dirname \"$0\")/$tool\"; done");
    EXPECT_EQ(statusAfterInstalling(health), "Optional tools installed.");
    health.installMissing();
    EXPECT_EQ(health.status(), "All optional tools are installed.") << "sips and zip come with the system";
}

TEST_F(EnvironmentHealthServiceTest, LooksAgainOnlyAfterARun) {
    auto health = service();
    (void)folder.file("first/brew", "#!/no/such/interpreter\n");
    std::filesystem::permissions((folder / "first/brew").path(), std::filesystem::perms::owner_all);
    program("first/qpdf", "");
    EXPECT_THAT(statusAfterInstalling(health), StartsWith("Install failed: "));
    EXPECT_EQ(health.tools()[5].path, std::nullopt);
    program("first/brew", "exit 1");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 1");
    EXPECT_EQ(health.tools()[5].path, first() + "qpdf");
}

TEST_F(EnvironmentHealthServiceTest, DoesNotWaitForWhatAnInstallationLeavesRunning) {
    program("first/brew", "sleep 600 & echo $! > \"$0.pid\"; echo no space left; exit 3");
    auto health = service();
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: no space left");
    const auto left = leftBehind();
    EXPECT_FALSE(processes.hasEnded(left)) << "it is no business of ours";
    processes.signal(left, StopSignal::kill);
}

TEST_F(EnvironmentHealthServiceTest, MayGoWhileAnInstallationRuns) {
    program("first/brew", "exit 0");
    {
        auto health = service();
        health.installMissing();
    }
    dispatcher.runPending();
}

TEST_F(EnvironmentHealthServiceTest, EndsTheInstallationWhenItGoes) {
    program("first/brew", "trap '' TERM; sleep 600 & echo $! > \"$0.pid\"; wait; wait");
    ProcessIdentity left;
    auto begin = std::chrono::steady_clock::now();
    {
        testing::ManualDispatcher threads;
        EnvironmentHealthService health({threads, processes, workspace, {first(), second()}});
        health.installMissing();
        left = leftBehind();
        begin = std::chrono::steady_clock::now();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
    EXPECT_TRUE(testing::eventually([&] { return processes.hasEnded(left); })) << "what it started goes too";
}

} // namespace
} // namespace torvo
