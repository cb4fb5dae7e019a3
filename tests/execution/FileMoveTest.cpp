#include "execution/FileMove.h"

#include "tests/support/FolderSnapshot.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace torvo {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::readFile;
using testing::takeSnapshot;

TEST(MoveFile, NeverTakesANameThatIsTaken) {
    const testing::TemporaryFolder folder;
    const auto from = folder.file("from", "new");
    (void)folder.file("file", "old");
    (void)folder.file("folder/inside", "old");
    (void)folder.folder("empty");
    ASSERT_EQ(::symlink("/nowhere", (folder / "broken").path().c_str()), 0);
    const auto before = takeSnapshot(folder.path());
    for (const char* taken : {"file", "folder", "empty", "broken", "from", "missing/x"})
        EXPECT_FALSE(moveFile(from, folder / taken).has_value()) << taken;
    EXPECT_EQ(moveFile(folder / "gone\n", folder / "x").error(),
              "“gone\uFFFD” could not be moved: No such file or directory");
    EXPECT_EQ(takeSnapshot(folder.path()), before);
    EXPECT_TRUE(moveFile(folder / "broken", folder / "folder/moved \xFF").has_value());
    EXPECT_TRUE(moveFile(folder / "folder", folder / "other").has_value());
    EXPECT_TRUE((folder / "other/moved \xFF").isOccupied());
}

class MoveAcrossFileSystems : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!disk.isMounted())
            GTEST_SKIP() << "only root may mount a small disk";
    }
    /// Nothing but these is there: no half copy, no original that was set aside.
    static std::vector<std::string> names(const testing::TemporaryFolder& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            names.push_back(entry.path().filename().native());
        return names;
    }

    testing::TemporaryFolder home;
    testing::SmallDisk disk{256 << 10};
};

TEST_F(MoveAcrossFileSystems, MovesFilesLinksAndFoldersWhole) {
    const auto file = home.file("folder/a \xFF", "text");
    (void)home.file("folder/deep/b", std::string(5000, 'b'));
    ASSERT_EQ(::symlink("a", (home / "folder/link").path().c_str()), 0);
    ASSERT_EQ(::chmod(file.path().c_str(), 0640), 0);
    const std::array times{timespec{1000, 5}, timespec{2000, 7}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.path().c_str(), times.data(), 0), 0);
    const auto to = disk.folder() / "moved";
    const auto moved = moveFile(home / "folder", to);
    ASSERT_TRUE(moved.has_value()) << moved.error();
    EXPECT_THAT(names(home), IsEmpty());
    EXPECT_EQ(names(disk.folder()), std::vector<std::string>{"moved"});
    EXPECT_EQ(readFile(to.appendingPath("a \xFF")), "text");
    EXPECT_EQ(readFile(to.appendingPath("deep/b")).size(), 5000U);
    EXPECT_EQ(std::filesystem::read_symlink(to.appendingPath("link").path()), "a");
    struct stat status{};
    ASSERT_EQ(::stat(to.appendingPath("a \xFF").path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(status.st_mtim.tv_sec, 2000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 7);
    ASSERT_TRUE(moveFile(to, home / "back").has_value());
    EXPECT_EQ(readFile(home / "back/a \xFF"), "text");
}

TEST_F(MoveAcrossFileSystems, LeavesEverythingAsItWasWhenItFails) {
    (void)home.file("folder/small", "text");
    (void)home.file("folder/too big", std::string(512 << 10, 'x'));
    const auto before = takeSnapshot(home.path());
    EXPECT_THAT(moveFile(home / "folder", disk.folder() / "moved").error(), HasSubstr("No space left on device"));
    EXPECT_THAT(names(disk.folder()), IsEmpty());
    EXPECT_EQ(takeSnapshot(home.path()), before);

    const auto taken = disk.folder().file("taken", "old");
    EXPECT_FALSE(moveFile(home / "folder/small", taken).has_value());
    EXPECT_EQ(readFile(taken), "old");
    ASSERT_EQ(::mkfifo((home / "folder/pipe").path().c_str(), 0600), 0);
    EXPECT_FALSE(moveFile(home / "folder/pipe", disk.folder() / "pipe").has_value()) << "what cannot be copied stays";
    EXPECT_TRUE((home / "folder/pipe").isOccupied());
    EXPECT_EQ(names(disk.folder()), std::vector<std::string>{"taken"});
}

} // namespace
} // namespace torvo
