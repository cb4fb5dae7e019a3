#include "linux/AutostartLoginItem.h"

#include "tests/support/Program.h"
#include "tests/support/TemporaryFolder.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace torvo {
namespace {

using ::testing::HasSubstr;
using testing::readFile;
using testing::TemporaryFolder;

class AutostartLoginItemTest : public ::testing::Test {
  protected:
    TemporaryFolder folder;
    FileURL entry = folder / "config/autostart/torvo.desktop";
};

TEST_F(AutostartLoginItemTest, ComesAndGoesAsAValidEntry) {
    const auto bar = folder.program("odd \"$(name) `x` 100%f \\ ü/torvo-bar", "#!/bin/sh\n");
    AutostartLoginItem item(folder / "config", {bar.path(), "--background"});
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    EXPECT_TRUE(item.unregisterItem().has_value());
    ASSERT_TRUE(item.registerItem().has_value());
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    EXPECT_TRUE(item.registerItem().has_value());
    const auto checked = testing::run({entry.path()}, {.program = "/usr/bin/desktop-file-validate"});
    EXPECT_EQ(checked.output + checked.errors, "");

    std::filesystem::remove(bar.path());
    EXPECT_EQ(item.status(), LoginItemStatus::notFound);
    EXPECT_TRUE(item.unregisterItem().has_value());
    EXPECT_FALSE(entry.isOccupied());
}

TEST_F(AutostartLoginItemTest, ReadsWhatDesktopsMakeOfTheEntry) {
    const auto bar = folder.program("torvo-bar", "#!/bin/sh\n");
    AutostartLoginItem item(folder / "config", {bar.path()});
    struct Row {
        std::string entry;
        LoginItemStatus status;
        bool canRegister;
    };
    using enum LoginItemStatus;
    const std::string head = "[Desktop Entry]\nType=Application\nName=Torvo\n";
    const Row rows[] = {
        {head + "Exec=torvo-bar %u\n", enabled, true},
        {head + "Exec=" + bar.path() + "\nX-GNOME-Autostart-enabled=true\nHidden=false\n", enabled, true},
        {head + "Exec=torvo-bar\nHidden=true\n", notRegistered, true},
        {head + "Exec=torvo-bar\nX-GNOME-Autostart-enabled=false\n", notRegistered, true},
        {"[Desktop Entry]\nHidden=true\n", notRegistered, true},
        {head + "Exec=/nonexistent/torvo-bar\n", notFound, true},
        {"", notRegistered, true},
        {head + "Exec=/usr/bin/other --torvo-bar\n", notRegistered, false},
        {head + "Exec=\"unbalanced\n", notRegistered, false},
        {head, notRegistered, false},
        {"just some text", notRegistered, false},
    };
    for (const auto& row : rows) {
        (void)folder.file("config/autostart/torvo.desktop", row.entry);
        EXPECT_EQ(item.status(), row.status) << row.entry;
        const auto registered = item.registerItem();
        EXPECT_EQ(registered.has_value(), row.canRegister) << row.entry;
        if (row.canRegister) {
            EXPECT_EQ(item.status(), enabled) << row.entry;
            continue;
        }
        EXPECT_THAT(registered.error(), HasSubstr("another program"));
        EXPECT_TRUE(item.unregisterItem().has_value());
        EXPECT_EQ(readFile(entry), row.entry) << "it is left alone";
    }
}

TEST_F(AutostartLoginItemTest, SaysInOneLineWhatIsInTheWay) {
    AutostartLoginItem item(folder / "config", {folder.program("torvo-bar", "#!/bin/sh\n").path()});
    const auto failsWith = [&](const char* reason) {
        EXPECT_EQ(item.status(), LoginItemStatus::notRegistered) << reason;
        EXPECT_THAT(item.registerItem().error(), HasSubstr(reason));
    };
    (void)folder.folder("config/autostart/torvo.desktop");
    failsWith("not a file");
    EXPECT_THAT(item.unregisterItem().error(), HasSubstr("not a file"));
    std::filesystem::remove(entry.path());
    ASSERT_EQ(::mkfifo(entry.path().c_str(), 0600), 0);
    failsWith("not a file");
    std::filesystem::remove_all((folder / "config").path());
    (void)folder.file("config", "a file where a folder should be");
    failsWith("Not a directory");
}

} // namespace
} // namespace torvo
