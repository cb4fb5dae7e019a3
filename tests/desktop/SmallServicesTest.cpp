// Notifications, the clipboard as a source of files, and the login item.
#include "desktop/ClipboardService.h"
#include "desktop/LaunchAtLoginService.h"
#include "desktop/Notifier.h"
#include "desktop/URLEvent.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/SmallDisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Notifier, AsksAUserWhoWasNeverAskedAndRespectsTheAnswer) {
    using enum NotificationAuthorization;
    struct Row {
        NotificationAuthorization status;
        bool grants;
        std::size_t shown;
        int requests;
    };
    const Row rows[] = {{authorized, false, 1, 0},
                        {provisional, false, 1, 0},
                        {denied, true, 0, 0},
                        {notDetermined, false, 0, 1},
                        {notDetermined, true, 1, 1}};
    for (const auto& [status, grants, shown, requests] : rows) {
        testing::FakeUserNotifications center;
        center.status = status;
        center.grants = grants;
        Notifier::post(center, "Torvo", "Done");
        EXPECT_EQ(center.added.size(), shown);
        EXPECT_EQ(center.requests, requests);
    }
    testing::FakeUserNotifications center;
    Notifier::post(center, "Torvo", "Done");
    Notifier::post(center, "Torvo", "Done");
    EXPECT_NE(center.added[0].identifier, center.added[1].identifier);
}

class ClipboardTest : public ::testing::Test {
  protected:
    testing::TemporaryFolder desktop;
    testing::FakePasteboard pasteboard;
};

TEST_F(ClipboardTest, GivesItsFilesAndElseItsPicture) {
    EXPECT_FALSE(ClipboardService::hasContent(pasteboard));
    EXPECT_THAT(ClipboardService::ingest(pasteboard, std::nullopt, desktop.url()), IsEmpty());
    pasteboard.tiffBytes = "";
    EXPECT_THAT(ClipboardService::ingest(pasteboard, std::nullopt, desktop.url()), IsEmpty())
        << "an unreadable picture";
    pasteboard.tiffBytes = "tiff";
    EXPECT_EQ(ClipboardService::imageData(pasteboard), "png of tiff");
    pasteboard.pngBytes = "png";
    EXPECT_EQ(ClipboardService::imageData(pasteboard), "png");
    EXPECT_TRUE(ClipboardService::hasContent(pasteboard));
    pasteboard.files = {FileURL("/b"), FileURL("/a")};
    EXPECT_THAT(ClipboardService::ingest(pasteboard, std::nullopt, desktop.url()),
                ElementsAre(FileURL("/b"), FileURL("/a")));
    EXPECT_FALSE((desktop / "Pasted image.png").isOccupied());
}

TEST_F(ClipboardTest, WritesThePictureUnderTheFirstFreeName) {
    pasteboard.pngBytes = "new";
    const auto taken = desktop.file("Pasted image.png", "old");
    ASSERT_EQ(::symlink("/nowhere", (desktop / "Pasted image 1.png").path().c_str()), 0);
    EXPECT_THAT(ClipboardService::ingest(pasteboard, std::nullopt, desktop.url()),
                ElementsAre(desktop / "Pasted image 2.png"));
    EXPECT_EQ(testing::readFile(desktop / "Pasted image 2.png"), "new");
    EXPECT_EQ(testing::readFile(taken), "old");
    const auto folder = desktop.folder("front");
    EXPECT_THAT(ClipboardService::ingest(pasteboard, folder, desktop.url()),
                ElementsAre(desktop / "front/Pasted image.png"));
    EXPECT_THAT(ClipboardService::ingest(pasteboard, desktop / "missing", desktop.url()), IsEmpty());
}

TEST_F(ClipboardTest, LeavesNoHalfPictureOnAFullDisk) {
    const testing::SmallDisk disk(64 << 10);
    if (!disk.isMounted())
        GTEST_SKIP() << "only root may mount a small disk";
    pasteboard.pngBytes = std::string(128 << 10, 'x');
    EXPECT_THAT(ClipboardService::ingest(pasteboard, disk.folder().url(), desktop.url()), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(disk.folder().path()));
}

TEST(LaunchAtLogin, ActsOnlyWhereSomethingChanges) {
    using enum LoginItemStatus;
    struct Row {
        LoginItemStatus status;
        bool isEnabled;
        int registrations;
        int removals;
    };
    const Row rows[] = {{enabled, true, 0, 0},        {notRegistered, true, 1, 0},     {requiresApproval, true, 1, 0},
                        {notRegistered, false, 0, 0}, {requiresApproval, false, 0, 1}, {enabled, false, 0, 1}};
    for (const auto& [status, isEnabled, registrations, removals] : rows) {
        testing::FakeLoginItem item;
        item.current = status;
        item.answer = std::unexpected("the disk is full");
        const auto answer = LaunchAtLoginService::setEnabled(isEnabled, item);
        EXPECT_EQ(answer.has_value(), registrations + removals == 0);
        EXPECT_EQ(item.registrations, registrations);
        EXPECT_EQ(item.removals, removals);
    }
}

TEST(URLEvent, NamesTheFilesOfItsFirstFilesItem) {
    struct Row {
        const char* address;
        std::vector<std::string> paths;
    };
    const Row rows[] = {
        {"torvo:?files=/a%0A/b", {"/a", "/b"}},
        {"torvo://drop?files=%2Fa%20b%0a%0A/c%26d%3De%2B+f", {"/a b", "/c&d=e++f"}},
        {"TORVO://x/y?other=/z&files=/a#files=/b", {"/a"}},
        {"torvo:?files=/first&files=/second", {"/first"}},
        {"torvo:?fil%65s=/named", {"/named"}},
        {"torvo:?files=/a=b?c", {"/a=b?c"}},
        {"torvo:?files=/\xC3\xBC%C3%BC/%FF", {"/\xC3\xBC\xC3\xBC/\xFF"}},
        {"torvo:?files=/folder/", {"/folder"}},
        {"torvo:?files=relative%0A/nul%00%0A/kept", {"/kept"}},
        // These open the bar.
        {"torvo:", {}},
        {"torvo:?", {}},
        {"torvo:?files", {}},
        {"torvo:?files=", {}},
        {"torvo:?files&files=/second", {}},
        {"torvo:?files=%0A%0A", {}},
        {"torvo:?Files=/a", {}},
        {"torvo:files=/a", {}},
        {"torvo:#?files=/a", {}},
        {"torvo:?files=/a%2", {}},
        {"torvo:?files=/a&x=%zz", {}},
    };
    for (const auto& [address, paths] : rows) {
        const auto files = filesOfURL(address);
        EXPECT_EQ(files ? pathsOf(*files) : std::vector<std::string>{"another scheme"}, paths) << address;
    }
    for (const char* address : {"", "torvo", "torvox:?files=/a", "file:///a", ":?files=/a", "x?torvo:files=/a"})
        EXPECT_FALSE(filesOfURL(address).has_value()) << address;
}

} // namespace
} // namespace torvo
