#include "linux/GioTrash.h"

#include "support/FileURLText.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace torvo {
namespace {

using ::testing::HasSubstr;
using testing::readFile;

/// GLib looks up the folders of the user once in the life of a process: to be called in a process of its own.
void useHome(const testing::TemporaryFolder& home) {
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("XDG_DATA_HOME", (home / "data").path().c_str(), 1);
}

/// What the file manager needs to put an item back: its name in the Trash and where it came from.
bool isRestorable(const testing::TemporaryFolder& home, const std::string& name, const FileURL& origin) {
    const auto info = readFile(home / ("data/Trash/info/" + name + ".trashinfo"));
    return (home / ("data/Trash/files/" + name)).isOccupied() && !origin.isOccupied() &&
           info.find("Path=" + fileURLText(origin).substr(7)) != std::string::npos &&
           info.find("DeletionDate=") != std::string::npos;
}

TEST(GioTrash, KeepsWhatItTakesRestorable) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const testing::TemporaryFolder home;
            useHome(home);
            const auto file = home.file("work/a b \xFF.txt", "text");
            const auto inside = home.file("work/folder/inside", "deep");
            ASSERT_EQ(::symlink(file.path().c_str(), (home / "work/link").path().c_str()), 0);
            GioTrash trash;
            EXPECT_TRUE(trash.moveToTrash(home / "work/link").has_value());
            EXPECT_EQ(readFile(file), "text") << "the link went, not what it leads to";
            EXPECT_TRUE(trash.moveToTrash(file).has_value());
            EXPECT_TRUE(trash.moveToTrash(home / "work/folder").has_value());
            EXPECT_TRUE(isRestorable(home, "link", home / "work/link"));
            EXPECT_TRUE(isRestorable(home, "a b \xFF.txt", file));
            EXPECT_TRUE(isRestorable(home, "folder", home / "work/folder"));
            EXPECT_EQ(readFile(home / "data/Trash/files/folder/inside"), "deep");
            // The same name again takes another one in the Trash.
            (void)home.file("work/a b \xFF.txt", "second");
            EXPECT_TRUE(trash.moveToTrash(file).has_value());
            EXPECT_EQ(readFile(home / "data/Trash/files/a b \xFF.txt"), "text");
            const auto missing = trash.moveToTrash(home / "work/missing");
            EXPECT_THAT(missing.error(), HasSubstr("No such file"));
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace torvo
