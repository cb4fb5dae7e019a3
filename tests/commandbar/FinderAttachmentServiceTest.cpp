#include "commandbar/FinderAttachmentService.h"

#include "tests/support/Bar.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

using namespace std::chrono_literals;

TEST(FinderAttachment, DocksFollowsAndHidesWithTheFileManager) {
    testing::Bar bar;
    bar.select({});
    bar.finder.moveWindow({100, 400, 800, 300});
    FinderAttachmentService attachment(*bar.service, bar.finder.workspace, *bar.dispatcher);
    EXPECT_TRUE(bar.window.isVisible()) << "the file manager was at the front already";
    EXPECT_EQ(bar.window.frame().x, 100);
    bar.finder.moveWindow({150, 400, 800, 300});
    bar.dispatcher->advance(149ms);
    EXPECT_EQ(bar.window.frame().x, 100);
    bar.dispatcher->advance(1ms);
    EXPECT_EQ(bar.window.frame().x, 150);
    bar.finder.moveWindow({170, 400, 800, 300});
    bar.dispatcher->advance(150ms);
    EXPECT_EQ(bar.window.frame().x, 170) << "it goes on following";

    const auto switchTo = [&](const std::optional<std::string>& application) {
        bar.finder.workspace.switchTo(application);
        bar.dispatcher->advance(0ms);
    };
    bar.service->inputChanged("zip");
    bar.finder.workspace.switchTo("org.example.editor");
    switchTo(std::string(kFinderIdentifier));
    EXPECT_EQ(bar.state().text, "zip") << "nobody sees a moment elsewhere";
    switchTo("org.example.editor");
    EXPECT_FALSE(bar.window.isVisible());
    EXPECT_FALSE(attachment.isFollowing());
    switchTo(std::nullopt);
    EXPECT_FALSE(bar.window.isVisible());
    switchTo(std::string(kFinderIdentifier));
    EXPECT_TRUE(bar.window.isVisible());
    EXPECT_EQ(bar.window.frame().width, 300);

    // It went away without a word: the next tick notices.
    bar.finder.workspace.frontmost = "org.example.editor";
    bar.dispatcher->advance(150ms);
    EXPECT_FALSE(bar.window.isVisible());
    EXPECT_FALSE(attachment.isFollowing());
}

TEST(FinderAttachment, LeavesTheBarAloneWhileItIsOff) {
    testing::Bar bar;
    bar.select({});
    bar.service->setAutoAttachEnabled(false);
    FinderAttachmentService attachment(*bar.service, bar.finder.workspace, *bar.dispatcher);
    EXPECT_FALSE(bar.window.isVisible());
    bar.finder.workspace.switchTo(std::string(kFinderIdentifier));
    bar.dispatcher->advance(1s);
    EXPECT_FALSE(bar.window.isVisible());
    bar.summon();
    bar.finder.workspace.switchTo("org.example.editor");
    EXPECT_TRUE(bar.window.isVisible());

    bar.finder.workspace.frontmost = kFinderIdentifier;
    attachment.setEnabled(true);
    EXPECT_TRUE(attachment.isFollowing());
    attachment.setEnabled(false);
    EXPECT_FALSE(bar.window.isVisible());
    EXPECT_FALSE(attachment.isFollowing());
}

} // namespace
} // namespace torvo
