#include "execution/FileMove.h"

#include "tests/support/Eventually.h"
#include "tests/support/FolderSnapshot.h"
#include "tests/support/Restricted.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <thread>

namespace torvo {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::namesIn;
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
    EXPECT_EQ(moveFile(folder / "folder", folder / "folder/in").error(),
              "“folder” could not be moved: a folder cannot be in itself");
    EXPECT_EQ(takeSnapshot(folder.path()), before);
    EXPECT_TRUE(moveFile(folder / "broken", folder / "folder/moved \xFF").has_value());
    EXPECT_TRUE(moveFile(folder / "folder", folder / "other").has_value());
    EXPECT_TRUE((folder / "other/moved \xFF").isOccupied());
}

TEST(MoveFile, ManagesWhereNoRenameIsSafe) {
    const testing::TemporaryFolder folder;
    const auto from = folder.file("from", "new");
    const auto taken = folder.file("taken", "old");
    (void)folder.folder("folder");
    testing::runRestricted({.withoutSafeRename = true}, [&] {
        EXPECT_EQ(moveFile(from, taken).error(), "“from” could not be moved: File exists");
        EXPECT_TRUE(moveFile(from, folder / "to").has_value());
        EXPECT_THAT(moveFile(folder / "folder", folder / "other").error(), HasSubstr("cannot rename a folder"));
    });
    EXPECT_THAT(namesIn(folder.path()), ::testing::ElementsAre("folder", "taken", "to"));
    EXPECT_EQ(readFile(taken), "old");
    EXPECT_EQ(readFile(folder / "to"), "new");
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can be somebody else";
    // The old name cannot go: the new one does.
    (void)folder.file("locked/from", "text");
    (void)folder.folder("open");
    for (const char* name : {"", "locked", "locked/from", "open"})
        ASSERT_EQ(::chown((folder / name).path().c_str(), testing::kNobody, testing::kNobody), 0);
    ASSERT_EQ(::chmod((folder / "locked").path().c_str(), 0555), 0);
    testing::runRestricted({.withoutSafeRename = true, .asNobody = true}, [&] {
        EXPECT_THAT(moveFile(folder / "locked/from", folder / "open/to").error(), EndsWith(": Permission denied"));
    });
    EXPECT_THAT(namesIn((folder / "open").path()), IsEmpty());
    EXPECT_EQ(readFile(folder / "locked/from"), "text");
}

class MoveAcrossFileSystems : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!disk.isMounted())
            GTEST_SKIP() << "only root may mount a small disk";
    }
    /// Nothing but these is there: no half copy, no original that was set aside.
    static std::vector<std::string> names(const testing::TemporaryFolder& folder) { return namesIn(folder.path()); }

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

TEST_F(MoveAcrossFileSystems, KeepsAccessListsAndExtendedAttributes) {
    const auto file = home.file("file", "text");
    // acl(5) as the kernel stores it: version 2, then tag, permissions and number of each entry.
    const std::array<std::uint32_t, 11> list{2,          0x60001, 0xFFFFFFFF, 0x40002, 12345,     0x40004,
                                             0xFFFFFFFF, 0x40010, 0xFFFFFFFF, 0x20,    0xFFFFFFFF};
    ASSERT_EQ(::setxattr(file.path().c_str(), "system.posix_acl_access", list.data(), sizeof list, 0), 0);
    ASSERT_EQ(::setxattr(file.path().c_str(), "user.note", "keep", 4, 0), 0);
    ASSERT_EQ(::chmod(file.path().c_str(), 0440), 0);
    const auto value = [](const FileURL& url, const char* name) {
        std::string bytes(100, '\0');
        bytes.resize(static_cast<std::size_t>(
            std::max<ssize_t>(0, ::getxattr(url.path().c_str(), name, bytes.data(), bytes.size()))));
        return bytes;
    };
    const auto before = value(file, "system.posix_acl_access");
    const auto to = disk.folder() / "moved";
    ASSERT_TRUE(moveFile(file, to).has_value());
    EXPECT_EQ(value(to, "system.posix_acl_access"), before);
    EXPECT_EQ(value(to, "user.note"), "keep");
    struct stat status{};
    ASSERT_EQ(::stat(to.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0440U);
}

TEST_F(MoveAcrossFileSystems, LeavesAnItemThatIsChangedMeanwhile) {
    const auto file = home.file("folder/file", "text");
    // With a lease on the file (fcntl(2)) the copying stands still in the folder until the lease is given back.
    const auto ignoring = std::signal(SIGIO, SIG_IGN);
    int lease = ::open(file.path().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::fcntl(lease, F_SETLEASE, F_WRLCK), 0);
    {
        const std::jthread writer([&] {
            EXPECT_TRUE(testing::eventually([&] { return !names(disk.folder()).empty(); }));
            (void)home.file("folder/late", "new");
            ::close(lease);
        });
        EXPECT_EQ(moveFile(home / "folder", disk.folder() / "moved").error(),
                  "“folder” could not be moved: it was changed meanwhile");
    }
    std::signal(SIGIO, ignoring);
    EXPECT_EQ(names(home), std::vector<std::string>{"folder"});
    EXPECT_EQ(readFile(home / "folder/late"), "new");
    EXPECT_EQ(readFile(file), "text");
    EXPECT_THAT(names(disk.folder()), IsEmpty());
}

TEST_F(MoveAcrossFileSystems, RemovesWhatItCanAndSaysWhatRemains) {
    (void)home.file("folder/locked/file", "text");
    ASSERT_EQ(::chmod(disk.folder().path().c_str(), 0777), 0);
    for (const char* name : {"", "folder", "folder/locked", "folder/locked/file"})
        ASSERT_EQ(::chown((home / name).path().c_str(), testing::kNobody, testing::kNobody), 0);
    ASSERT_EQ(::chmod((home / "folder/locked").path().c_str(), 0555), 0);
    testing::runRestricted({.asNobody = true}, [&] {
        const auto moved = moveFile(home / "folder", disk.folder() / "moved");
        EXPECT_TRUE(moved.has_value()) << moved.error();
    });
    EXPECT_THAT(names(home), IsEmpty());
    EXPECT_EQ(readFile(disk.folder() / "moved/locked/file"), "text");

    // What is mounted in the folder can be copied but not removed.
    const auto inside = home.folder("other/inside");
    ASSERT_EQ(::mount("torvo-test", inside.path().c_str(), "tmpfs", 0, "size=16k"), 0);
    const auto moved = moveFile(home / "other", disk.folder() / "other");
    ASSERT_EQ(names(home).size(), 1U);
    const auto left = names(home).front();
    EXPECT_EQ(::umount2((home / (left + "/inside")).path().c_str(), MNT_DETACH), 0);
    EXPECT_EQ(moved.error(), "“other” was moved, but what is left of it in “" + left +
                                 "” could not be removed: Device or resource busy");
    EXPECT_TRUE((disk.folder() / "other/inside").exists());
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
