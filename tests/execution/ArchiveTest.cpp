#include "execution/Archive.h"

#include "linux/LinuxProcessHost.h"
#include "tests/support/Eventually.h"
#include "tests/support/RunReports.h"
#include "tests/support/SipsRun.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::namesIn;
using testing::namesOf;
using testing::shown;
using ::testing::StartsWith;
using testing::TemporaryFolder;

class ArchiveTest : public ::testing::Test {
  protected:
    RunOutcome zipIn(const FinderContext& context) {
        return zipSelection(context, m_archiver, m_processes, m_selector,
                            [this](const OperationProgress& report) { m_progress.push_back(report); });
    }
    RunOutcome zip(const std::vector<FileURL>& selection) { return zipIn({m_folder.url(), selection}); }

    TemporaryFolder m_folder;
    TemporaryFolder m_tools;
    LinuxProcessHost m_host;
    ProcessRunner m_processes{m_host};
    testing::RecordingSelector m_selector;
    std::string m_archiver = "/usr/bin/zip";
    std::vector<OperationProgress> m_progress;
};

/// The names in an archive's central directory, byte for byte, and the sizes of the files (APPNOTE.TXT,
/// section 4.3.12).
std::map<std::string, unsigned> entriesOf(const FileURL& archive) {
    const auto bytes = testing::readFile(archive);
    const auto number = [&](std::size_t at) {
        return static_cast<unsigned char>(bytes.at(at)) + 256U * static_cast<unsigned char>(bytes.at(at + 1));
    };
    std::map<std::string, unsigned> entries;
    for (std::size_t at = 0; (at = bytes.find("PK\x01\x02", at)) != std::string::npos; at += 46)
        entries[bytes.substr(at + 46, number(at + 28))] = number(at + 24);
    return entries;
}

TEST_F(ArchiveTest, HoldsItemsOfAnyNameAndWholeFolders) {
    std::vector<FileURL> selection;
    std::map<std::string, unsigned> expected{
        {"tree/", 0}, {"tree/deep/", 0}, {"tree/deep/leaf", 1}, {"tree/.hidden", 1}, {"tree/empty/", 0}};
    for (const auto& name : testing::oddNames("")) {
        selection.push_back(m_folder.file(name, "content of " + name));
        expected[name] = static_cast<unsigned>(11 + name.size());
    }
    (void)m_folder.file("tree/deep/leaf", "x");
    (void)m_folder.file("tree/.hidden", "x");
    (void)m_folder.folder("tree/empty");
    selection.push_back(m_folder / "tree");
    (void)m_folder.file("unselected");

    const auto outcome = zip(selection);
    EXPECT_EQ(shown(outcome), "completed: Zipped " + std::to_string(selection.size()) + " items");
    ASSERT_THAT(testing::outputsOf(outcome), ElementsAre(m_folder / "Archive.zip"));
    EXPECT_THAT(m_selector.selections, ElementsAre(testing::outputsOf(outcome)));
    EXPECT_EQ(entriesOf(m_folder / "Archive.zip"), expected);
    const auto test = testing::run({"-tq", (m_folder / "Archive.zip").path()}, {.program = "/usr/bin/unzip"});
    EXPECT_EQ(test.status, 0) << test.errors << test.output;
}

TEST_F(ArchiveTest, TakesTheFirstFreeName) {
    const auto item = m_folder.folder("item");
    (void)m_folder.file("Archive.zip", "old");
    std::filesystem::create_symlink("nowhere", (m_folder / "Archive-1.zip").path());
    EXPECT_EQ(shown(zip({item})), "completed: Zipped 1 item");
    EXPECT_THAT(m_selector.selections, ElementsAre(ElementsAre(m_folder / "Archive-2.zip")));
    EXPECT_EQ(testing::readFile(m_folder / "Archive.zip"), "old");
    EXPECT_FALSE((m_folder / "nowhere").exists());
    EXPECT_THAT(m_progress, ElementsAre(OperationProgress{"Compressing 1 item…", std::nullopt, std::nullopt}));
}

TEST_F(ArchiveTest, RefusesWhatItCannotPutIntoOneArchive) {
    const auto a = m_folder.file("a");
    const auto elsewhere = m_folder.file("sub/b");
    EXPECT_EQ(shown(zip({a, elsewhere.deletingLastPathComponent().appendingPath("gone")})),
              "failure: Zip requires all selected items to be in the same folder");
    EXPECT_EQ(shown(zip({a, m_folder / "gone"})), "failure: One or more selected items no longer exist");
    EXPECT_EQ(shown(zipIn({})), "failure: Open a Finder window first");
    EXPECT_THAT(m_progress, IsEmpty());
    EXPECT_THAT(shown(zip({})), StartsWith("failure: Zip failed: "));
    // The same folder written in another way is the same folder.
    EXPECT_EQ(shown(zip({a, FileURL(m_folder.path() + "/sub/../sub")})), "completed: Zipped 2 items");
    m_archiver = (m_tools / "missing").path();
    EXPECT_THAT(shown(zip({a})), StartsWith("failure: Zip failed: "));
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre("Archive.zip", "a", "sub"));
}

TEST_F(ArchiveTest, LeavesNothingBehindWhenCancelled) {
    const auto item = m_folder.file("a");
    m_archiver = m_tools.program("zip", "#!/bin/zsh\nprint half > $3; trap 'exit 0' TERM; sleep 300 & wait").path();
    std::thread user([&] {
        EXPECT_TRUE(testing::eventually([&] { return (m_folder / "Archive.zip").exists(); }));
        m_processes.cancel();
    });
    EXPECT_EQ(shown(zip({item})), "failure: Cancelled");
    user.join();
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre("a"));
    EXPECT_EQ(shown(zip({item})), "failure: Cancelled");
    EXPECT_THAT(m_selector.selections, IsEmpty());
}

TEST_F(ArchiveTest, CancelsTheRealArchiverWithoutLeavingItsTemporaryFile) {
    // Endless enough that the archiver is still at work when its temporary file shows up.
    const auto item = m_folder.file("big");
    std::filesystem::resize_file(item.path(), std::uintmax_t{8} << 30);
    std::thread user([&] {
        EXPECT_TRUE(testing::eventually([&] { return namesIn(m_folder.path()).size() > 1; }));
        m_processes.cancel();
    });
    EXPECT_EQ(shown(zip({item})), "failure: Cancelled");
    user.join();
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre("big"));
}

TEST_F(ArchiveTest, LeavesNothingBehindOnAFullDisk) {
    const testing::SmallDisk disk(128 << 10);
    if (!disk.isMounted())
        GTEST_SKIP() << "mounting a small file system is not permitted here";
    std::string noise(100 << 10, ' ');
    std::ranges::generate(noise, [random = std::minstd_rand(1)]() mutable { return static_cast<char>(random() >> 8); });
    const auto item = disk.folder().file("noise", noise);
    EXPECT_THAT(shown(zip({item})), StartsWith("failure: Zip failed: "));
    EXPECT_THAT(namesIn(disk.folder().path()), ElementsAre("noise"));
    EXPECT_EQ(testing::readFile(item), noise);
}

} // namespace
} // namespace torvo
