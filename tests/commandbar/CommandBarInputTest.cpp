// The bar between commands: showing and hiding, typing, history, drops.
#include "commandbar/FinderAttachmentService.h"
#include "planning/RulesStore.h"
#include "tests/support/Bar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class CommandBarInput : public ::testing::Test {
  protected:
    testing::Bar bar;
};

TEST_F(CommandBarInput, ShowsHidesAndFollowsTheFileManager) {
    bar.service->syncAttachment();
    EXPECT_FALSE(bar.window.isVisible()) << "there is no window to dock to";
    bar.select({});
    bar.finder.moveWindow({200, 500, 700, 300});
    bar.service->syncAttachment();
    EXPECT_FALSE(bar.window.isKey());
    EXPECT_EQ(bar.window.frame(), (Rect{200, 402, 300, 90}));
    bar.finder.window = 201;
    bar.finder.show(bar / "other", {bar / "other/a.txt"});
    bar.service->syncAttachment();
    bar.dispatcher->runPending();
    EXPECT_EQ(bar.state().contextHint, "📁 other · 1 selected") << "of the window that it hangs under now";

    bar.summon();
    EXPECT_TRUE(bar.window.isKey());
    EXPECT_EQ(bar.window.frame(), (Rect{200, 402, 700, 90}));
    EXPECT_EQ(bar.state().focusTrigger, 1);
    bar.summon();
    EXPECT_TRUE(bar.window.isVisible()) << "the shortcut never hides the bar";
    bar.window.resignKey();
    EXPECT_EQ(bar.window.frame().width, 300);
    EXPECT_THAT(bar.distributed.posted, ElementsAre("torvobar.commandBarFocused", "torvobar.commandBarBlurred"));

    // There is room for the small bar below the window, and none for the large one.
    const auto heights = bar.service->observe([&] {
        auto frame = bar.window.frame();
        frame.height = bar.state().isKeyWindow ? 200 : 60;
        bar.window.setFrame(frame);
    });
    bar.finder.moveWindow({200, 150, 700, 300});
    bar.summon();
    bar.window.resignKey();
    EXPECT_EQ(bar.window.frame(), (Rect{200, 82, 300, 60})) << "below";

    bar.finder.show(std::nullopt);
    bar.service->syncAttachment();
    EXPECT_FALSE(bar.window.isVisible());
    bar.summon();
    EXPECT_FALSE(bar.window.isVisible());
    bar.select({});
    bar.finder.workspace.frontmost = "org.example.editor";
    bar.summon();
    EXPECT_FALSE(bar.window.isVisible()) << "another application is at the front";
    bar.service->prefill("zip");
    bar.dispatcher->runPending();
    EXPECT_TRUE(bar.window.isKey());
    EXPECT_EQ(bar.state().status, "⏎  Zip the selection");
    EXPECT_THAT(bar.finder.workspace.activated, ElementsAre(std::string(kFinderIdentifier)));
}

TEST_F(CommandBarInput, WaitsForNoFileManager) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    bar.desktopQueue.isHeld = true;
    bar.summon();
    EXPECT_TRUE(bar.window.isKey());
    bar.service->inputChanged("zip");
    bar.service->submit();
    bar.dispatcher->runPending();
    EXPECT_FALSE(bar.state().isRunning);
    bar.service->cancel();
    bar.desktopQueue.run();
    bar.dispatcher->runPending();
    EXPECT_THAT(bar.names(), ElementsAre("a.txt")) << "what was abandoned before the answer came is not begun";
    EXPECT_THAT(bar.state().contextHint, EndsWith("1 selected"));
}

TEST_F(CommandBarInput, StaysForWhoeverCallsItWhileItsClockRuns) {
    bar.select({});
    bar.service->setAutoAttachEnabled(false);
    bar.enter("deselect");
    ASSERT_TRUE(bar.settles());
    ASSERT_EQ(bar.state().statusKind, StatusKind::success) << bar.state().status;
    bar.summon();
    bar.dispatcher->advance(5s);
    EXPECT_TRUE(bar.window.isVisible());
}

TEST_F(CommandBarInput, TellsTheFolderAloneWhileTheSelectionCannotBeSeen) {
    (void)bar.files.file("a.txt");
    bar.finder.showsSelection = false;
    bar.select({"a.txt"});
    const auto folder = "📁 " + std::string(bar.files.url().lastPathComponent());
    bar.service->syncAttachment();
    bar.dispatcher->runPending();
    EXPECT_EQ(bar.state().contextHint, folder);
    EXPECT_THAT(bar.finder.scripts.runs(), IsEmpty()) << "a docked bar has nothing done to the window";
    bar.summon();
    EXPECT_EQ(bar.state().contextHint, folder + " · 1 selected");
}

TEST_F(CommandBarInput, BrowsesTheHistoryAndRestoresWhatWasTyped) {
    bar.select({});
    for (const char* command : {"select all png", "deselect"})
        bar.enter(command);
    bar.service->inputChanged("half a com");
    bar.service->historyDown();
    EXPECT_EQ(bar.state().text, "half a com");
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "deselect");
    bar.service->historyUp();
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "select all png");
    bar.service->historyDown();
    bar.service->historyDown();
    bar.service->historyDown();
    EXPECT_EQ(bar.state().text, "half a com");

    bar.restart();
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "deselect");
    bar.service->clearHistory();
    EXPECT_FALSE(bar.defaults.contains("commandHistory"));
    bar.service->inputChanged("x");
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "x");
}

TEST_F(CommandBarInput, ReplacesTriggersOfRulesAndRemembersWhatWasTyped) {
    (void)bar.files.file("a.png");
    (void)RulesStore(bar.defaults).add("pix", "select all png");
    bar.select({});
    bar.enter(" PIX ");
    EXPECT_EQ(bar.state().status, "Selected 1 item");
    EXPECT_THAT(bar.logged(), ElementsAre("preset: select all png", "selected: 1"));
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "PIX");
    EXPECT_EQ(bar.state().chips.front(), (Suggestion{"pix", "pix"}));
}

TEST_F(CommandBarInput, TakesDroppedFilesAndTheClipboardForTheSelection) {
    const auto one = bar.files.file("sub/one.txt");
    const auto two = bar.files.file("sub/two.txt");
    bar.service->handleDrop({});
    EXPECT_FALSE(bar.window.isVisible());
    bar.select({});
    bar.service->handleDrop({two, one});
    bar.dispatcher->runPending();
    EXPECT_TRUE(bar.window.isKey());
    EXPECT_EQ(bar.state().contextHint, "📁 sub · 2 dropped");
    EXPECT_THAT(bar.selectedNames(), ElementsAre("two.txt", "one.txt"));
    bar.service->inputChanged("zip");
    bar.service->submit();
    ASSERT_TRUE(bar.settlesAs("Zipped 2 items")) << bar.state().status;
    EXPECT_TRUE((bar / "sub/Archive.zip").exists()) << "a drop's folder is that of its first file";

    bar.pasteboard.tiffBytes = "tiff";
    bar.summon();
    bar.window.resignKey();
    bar.summon();
    EXPECT_TRUE(bar.state().clipboardAvailable);
    bar.service->useClipboard();
    bar.dispatcher->runPending();
    EXPECT_EQ(testing::readFile(bar / "Pasted image.png"), "png of tiff");
    EXPECT_THAT(bar.selectedNames(), ElementsAre("Pasted image.png"));

    bar.service->useClipboard();
    bar.service->detach();
    bar.dispatcher->runPending();
    EXPECT_FALSE(bar.window.isVisible()) << "it comes back for nothing that was asked before";
}

TEST_F(CommandBarInput, DropsTheDropWhenItHides) {
    const auto one = bar.files.file("one.txt");
    bar.select({});
    bar.service->handleDrop({one});
    bar.service->detach();
    bar.summon();
    EXPECT_EQ(bar.state().contextHint, "📁 " + std::string(bar.files.url().lastPathComponent()) + " · 1 selected")
        << "what is left is what the file manager selected";
}

TEST_F(CommandBarInput, LetsGoOfAPendingActionWithoutAWordWhenTyping) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    bar.modelAnswers("touch b");
    bar.enter("touch b");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm());
    bar.service->inputChanged("touch");
    EXPECT_FALSE(bar.state().awaitingConfirm());
    EXPECT_EQ(bar.state().status, "");
    bar.service->inputChanged("   ");
    bar.service->submit();
    EXPECT_EQ(bar.state().text, "") << "Return on nothing empties the docked bar";
    EXPECT_THAT(bar.logged(), ElementsAre("llm: touch b"));
    bar.service->historyUp();
    EXPECT_EQ(bar.state().text, "touch b");
}

TEST_F(CommandBarInput, TellsAUserWhoWentAwayAndLeavesByTheClock) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    bar.enter("zip");
    bar.window.resignKey();
    bar.finder.workspace.frontmost = "org.example.editor";
    ASSERT_TRUE(bar.settlesAs("Zipped 1 item"));
    ASSERT_EQ(bar.notifications.added.size(), 1U);
    EXPECT_EQ(bar.notifications.added[0].title, "Torvo");
    EXPECT_EQ(bar.notifications.added[0].body, "Zipped 1 item");
    bar.dispatcher->advance(7s);
    EXPECT_EQ(bar.state().status, "");
    EXPECT_THAT(bar.finder.workspace.activated, IsEmpty()) << "whoever works elsewhere goes on there";

    bar.service->setAutoAttachEnabled(false);
    bar.finder.workspace.frontmost = kFinderIdentifier;
    bar.enter("zip");
    ASSERT_TRUE(bar.settlesAs("Zipped 1 item"));
    bar.dispatcher->advance(6999ms);
    EXPECT_TRUE(bar.window.isVisible());
    bar.dispatcher->advance(1ms);
    EXPECT_FALSE(bar.window.isVisible());
    bar.restart();
    EXPECT_FALSE(bar.state().autoAttachEnabled);
}

TEST_F(CommandBarInput, KeepsOnRecordWhatARunDidThatItWasLeftWith) {
    const auto leave = [&](const std::string& command) {
        bar.modelAnswers(command);
        bar.enter("do it");
        ASSERT_TRUE(bar.settles());
        bar.service->confirmPending();
        bar.service->detach();
        bar.finder.workspace.frontmost = "org.example.editor";
    };
    const auto told = [&] { return bar.dispatcher->runUntil([&] { return !bar.notifications.added.empty(); }); };
    bar.select({});
    leave("until [[ -e go ]] do sleep 0.01; done; print hello > made.txt");
    (void)bar.files.file("go");
    ASSERT_TRUE(told());
    EXPECT_FALSE(bar.window.isVisible());
    EXPECT_THAT(bar.state().resultOutputs, IsEmpty());
    ASSERT_EQ(bar.state().operations.size(), 1U);
    EXPECT_THAT(bar.logged(), Contains("completed: Do it"));
    bar.undoLast();
    EXPECT_TRUE((bar / "made.txt").exists()) << "nobody was shown what would be undone";
    bar.undo(bar.state().operations.front().id);
    EXPECT_FALSE((bar / "made.txt").exists());
    bar.notifications.added.clear();
    bar.finder.workspace.frontmost = kFinderIdentifier;
    leave("until [[ -e gone ]] do sleep 0.01; done; print -u2 no luck; exit 3");
    (void)bar.files.file("gone");
    ASSERT_TRUE(told());
    EXPECT_THAT(bar.notifications.added.front().body, HasSubstr("no luck"));
    EXPECT_FALSE(bar.state().canAskAIToFix);

    // It keeps the next one waiting, and ends with that by Esc.
    bar.finder.workspace.frontmost = kFinderIdentifier;
    leave("until [[ -e never ]] do sleep 0.01; done");
    bar.finder.workspace.frontmost = kFinderIdentifier;
    bar.modelAnswers("touch next");
    bar.enter("next");
    ASSERT_TRUE(bar.settles());
    bar.service->confirmPending();
    bar.service->cancel();
    const auto failures = [&] {
        return std::ranges::count_if(bar.logged(), [](const auto& entry) { return entry.starts_with("failed"); });
    };
    EXPECT_TRUE(bar.dispatcher->runUntil([&] { return failures() == 2; })) << "also that one has its outcome";
    EXPECT_FALSE((bar / "next").exists());
}

TEST_F(CommandBarInput, StaysForAUserWhoGoesOn) {
    const auto file = bar.files.file("a.txt");
    const auto zipAndWaitALittle = [&] {
        bar.select({"a.txt"});
        bar.enter("zip");
        ASSERT_TRUE(bar.settlesAs("Zipped 1 item")) << bar.state().status;
        bar.dispatcher->advance(6s);
    };
    zipAndWaitALittle();
    bar.service->historyUp();
    bar.dispatcher->advance(10s);
    EXPECT_EQ(bar.state().text, "zip");
    EXPECT_EQ(bar.state().status, "Zipped 1 item");
    zipAndWaitALittle();
    bar.service->handleDrop({file});
    bar.dispatcher->advance(10s);
    EXPECT_THAT(bar.state().contextHint, EndsWith("1 dropped"));
    bar.service->cancel();
    zipAndWaitALittle();
    bar.window.isMenuOpen = true;
    bar.dispatcher->advance(10s);
    EXPECT_EQ(bar.state().status, "Zipped 1 item");
    bar.window.isMenuOpen = false;
    bar.dispatcher->advance(1s);
    EXPECT_EQ(bar.state().status, "");
    zipAndWaitALittle();
    bar.pasteboard.files = {file};
    bar.service->useClipboard();
    bar.dispatcher->advance(10s);
    EXPECT_THAT(bar.state().contextHint, EndsWith("1 dropped"));
}

TEST_F(CommandBarInput, RevealsWhatTheLastRunCreated) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    bar.enter("zip");
    ASSERT_TRUE(bar.settlesAs("Zipped 1 item"));
    const auto outputs = bar.state().resultOutputs;
    bar.service->revealLast();
    EXPECT_THAT(bar.finder.workspace.revealed, ElementsAre(outputs));
    EXPECT_THAT(bar.state().resultOutputs, IsEmpty());
    bar.service->revealLast();
    EXPECT_EQ(bar.finder.workspace.revealed.size(), 1U);
    bar.service->clearLog();
    EXPECT_THAT(bar.state().operations, IsEmpty());
    EXPECT_FALSE((bar.support / "Torvo/activity.json").exists());
}

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
