// The whole program reads a selection through the clipboard; what the user has copied is there before and after.
#include "linux/RemoteControl.h"
#include "linux/clipboard/X11Clipboard.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"
#include "tests/support/RunningBar.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

std::string pasted() {
    return testing::run({"-selection", "clipboard", "-out"}, {.program = "/usr/bin/xclip"}).output;
}

TEST(ClipboardOfRunningBarTest, OutlivesTheBar) {
    testing::TemporaryFolder files;
    const auto text = files.file("text", "what the user has copied");
    const auto folder = files.folder("shown");
    for (const char* name : {"shown/a.txt", "shown/b.txt"})
        files.file(name, "content");
    testing::DesktopSession session;
    // Its icon view shows nothing of its items to anybody else.
    ASSERT_TRUE(session.open({"thunar", "Thunar"}, folder));
    ASSERT_TRUE(session.selectsAll(2));
    const auto clipboard = X11Clipboard::create();
    const auto tests = clipboard->owner();
    const testing::BackgroundProgram user("/usr/bin/xclip", {"-quiet", "-selection", "clipboard", text.path()});
    ASSERT_TRUE(
        testing::eventually([&] { return clipboard->owner() != tests && pasted() == testing::readFile(text); }));
    const auto users = clipboard->owner();

    testing::RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); }));
    ASSERT_TRUE(bar.carriesOut("zip"));
    EXPECT_NE(clipboard->owner(), users) << "the bar has put it back";
    EXPECT_EQ(pasted(), testing::readFile(text));
    EXPECT_EQ(bar.quit(), 0);
    EXPECT_EQ(pasted(), testing::readFile(text));
    EXPECT_EQ(RemoteBar::toggle().error().kind, RemoteBar::Failure::Kind::notRunning) << "nothing else of it is left";
}

} // namespace
} // namespace torvo
