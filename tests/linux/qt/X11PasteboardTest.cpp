#include "linux/qt/X11Pasteboard.h"

#include "desktop/ClipboardService.h"
#include "tests/support/Eventually.h"
#include "tests/support/ScriptedOwner.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Forms = testing::ScriptedOwner::Forms;

TEST(X11Pasteboard, ReadsAsEmptyWhileItsOwnerHangs) {
    const testing::XDesktop desktop;
    const testing::TemporaryFolder folder;
    const auto list = folder.file("list", "file:///tmp/a\n");
    const testing::BackgroundProgram owner(
        "/usr/bin/xclip", {"-quiet", "-selection", "clipboard", "-target", "text/uri-list", list.path()});
    X11Pasteboard pasteboard;
    ASSERT_TRUE(testing::eventually([&] { return pasteboard.hasFiles(); }));
    EXPECT_THAT(pasteboard.fileURLs(), ElementsAre(FileURL("/tmp/a")));

    ASSERT_EQ(::kill(owner.pid(), SIGSTOP), 0);
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(pasteboard.hasFiles());
    EXPECT_THAT(pasteboard.fileURLs(), IsEmpty());
    EXPECT_FALSE(pasteboard.hasImage());
    EXPECT_FALSE(pasteboard.png());
    EXPECT_FALSE(pasteboard.tiff());
    EXPECT_LT(std::chrono::steady_clock::now() - began, 4s);
    ASSERT_EQ(::kill(owner.pid(), SIGCONT), 0);
    EXPECT_TRUE(testing::eventually([&] { return pasteboard.hasFiles(); })) << "it has survived being asked in vain";
    EXPECT_THAT(pasteboard.fileURLs(), ElementsAre(FileURL("/tmp/a")));
}

TEST(X11Pasteboard, LooksAtWhatIsOfferedWithoutFetchingIt) {
    const testing::XDesktop desktop;
    X11Pasteboard pasteboard;
    testing::ScriptedOwner files(Forms{{"text/uri-list", "file:///tmp/a\r\n"}});
    files.take();
    EXPECT_TRUE(ClipboardService::hasContent(pasteboard));
    testing::ScriptedOwner picture(Forms{{"image/png", std::nullopt}});
    picture.take();
    EXPECT_TRUE(ClipboardService::hasContent(pasteboard));
    testing::ScriptedOwner text(Forms{{"UTF8_STRING", "text"}});
    text.take();
    EXPECT_FALSE(ClipboardService::hasContent(pasteboard));
    for (auto* each : {&files, &picture, &text})
        EXPECT_THAT(each->asked(), ::testing::Each("TARGETS"));
}

} // namespace
} // namespace torvo
