// Records, and undoing and repeating them at moments that do not suit.
#include "tests/support/Bar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class CommandBarUndo : public ::testing::Test {
  protected:
    void zip() {
        (void)bar.files.file("a.txt");
        bar.select({"a.txt"});
        bar.enter("zip");
        ASSERT_TRUE(bar.settlesAs("Zipped 1 item")) << bar.state().status;
    }

    testing::Bar bar;
};

TEST_F(CommandBarUndo, OfRenamesStopsWhereAFileCannotGoBack) {
    (void)bar.files.file("gone/a.txt", "a");
    (void)bar.files.file("b.txt", "b");
    bar.select({"gone/a.txt", "b.txt"});
    bar.modelAnswers(R"(mv -- "$1" "${2:h}/x-a.txt"; mv -- "$2" "${2:h}/x-b.txt"; rmdir -- "${1:h}")", "Flatten",
                     R"sh(printf '%s\t%s\n' "$1" "$(dirname "$2")/x-a.txt"; )sh"
                     R"sh(printf '%s\t%s\n' "$2" "$(dirname "$1")/../x-b.txt")sh");
    bar.enter("flatten");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm()) << bar.state().status;
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Flatten")) << bar.state().status;
    // A path through the folder that is gone by now names its file all the same.
    ASSERT_EQ(bar.state().operations.size(), 1U);
    EXPECT_THAT(bar.state().operations[0].renameMap, ElementsAre(Operation::Rename{bar / "gone/a.txt", bar / "x-a.txt"},
                                                                 Operation::Rename{bar / "b.txt", bar / "x-b.txt"}));
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undo failed: “x-a.txt” could not be moved: No such file or directory");
    EXPECT_EQ(bar.state().statusKind, StatusKind::failure);
    EXPECT_FALSE(bar.state().operations[0].undone);
    EXPECT_THAT(bar.names(), ElementsAre("b.txt", "x-a.txt"));
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Can't undo: files changed since this operation");
    EXPECT_THAT(bar.names(), ElementsAre("b.txt", "x-a.txt"));
}

TEST_F(CommandBarUndo, AndItsClockLeaveARunAlone) {
    zip();
    ASSERT_TRUE(bar.begin("wait", "touch on; until [ -e go ]; do sleep 0.01; done", "Wait"));
    ASSERT_TRUE(bar.dispatcher->runUntil(
        [&] { return (bar / "on").exists() && bar.state().status == "Running command…   Esc to cancel"; }));
    const auto id = bar.state().operations.at(0).id;
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undid Zipped 1 item");
    EXPECT_FALSE((bar / "Archive.zip").exists());
    // When the time for the message is over, the run is not.
    bar.dispatcher->advance(10s);
    EXPECT_TRUE(bar.state().isRunning);
    EXPECT_EQ(bar.state().text, "wait");
    // Nothing else starts meanwhile.
    bar.service->rerun(id);
    bar.service->askAIToFix();
    bar.service->submit("zip");
    EXPECT_TRUE(bar.state().isRunning);
    EXPECT_EQ(bar.state().status, "Undid Zipped 1 item");
    (void)bar.files.file("go");
    ASSERT_TRUE(bar.settlesAs("Wait")) << bar.state().status;
    EXPECT_EQ(bar.state().operations.size(), 2U);
    EXPECT_TRUE(bar.state().operations.back().undone);
    EXPECT_THAT(bar.logged(),
                ElementsAre("preset: zip", "completed: Zipped 1 item", "llm: wait", "confirmed", "completed: Wait"));
    EXPECT_EQ(bar.server.requests().size(), 1U);
}

TEST_F(CommandBarUndo, ItsClockDoesNotTakeAQuestionAway) {
    zip();
    bar.modelAnswers("touch it", "Touch");
    bar.enter("touch it");
    // The undo's clock is set while the model thinks.
    bar.undoLast();
    ASSERT_TRUE(bar.dispatcher->runUntil([&] { return bar.state().awaitingConfirm(); }));
    bar.dispatcher->advance(10s);
    EXPECT_TRUE(bar.state().awaitingConfirm());
}

TEST_F(CommandBarUndo, ItsClockDoesNotTakeAFailureAway) {
    zip();
    ASSERT_TRUE(bar.begin("list", "touch on; until [ -e go ]; do sleep 0.01; done; ls missing", "List"));
    ASSERT_TRUE(bar.dispatcher->runUntil([&] { return (bar / "on").exists(); }));
    bar.undoLast();
    (void)bar.files.file("go");
    ASSERT_TRUE(bar.settles());
    bar.dispatcher->advance(10s);
    EXPECT_EQ(bar.state().statusKind, StatusKind::failure);
    EXPECT_TRUE(bar.state().canAskAIToFix);
}

TEST_F(CommandBarUndo, IsShownWhenTheDiskTakesItsTime) {
    zip();
    bar.diskQueue.isHeld = true;
    const auto id = bar.state().operations.at(0).id;
    bar.undoLast();
    bar.undoLast();
    bar.dispatcher->advance(299ms);
    EXPECT_EQ(bar.state().status, "Zipped 1 item");
    bar.dispatcher->advance(1ms);
    EXPECT_EQ(bar.state().status, "Undoing…");
    EXPECT_THAT(bar.state().undoing, ElementsAre(id));
    // No command starts on files that are being moved.
    bar.service->submit("zip");
    bar.service->rerun(id);
    EXPECT_FALSE(bar.state().isRunning);
    bar.dispatcher->advance(60s);
    EXPECT_EQ(bar.state().status, "Undoing…");
    EXPECT_THAT(bar.names(), ElementsAre("Archive.zip", "a.txt"));

    bar.diskQueue.run();
    bar.dispatcher->runPending();
    EXPECT_EQ(bar.state().status, "Undid Zipped 1 item");
    EXPECT_THAT(bar.state().undoing, ::testing::IsEmpty());
    EXPECT_THAT(bar.trash.items(), ElementsAre(bar / "Archive.zip"));
    bar.dispatcher->advance(1400ms);
    EXPECT_EQ(bar.state().status, "");
}

TEST_F(CommandBarUndo, DoesNotDismissTheBarOfWhoeverTypesOn) {
    zip();
    bar.diskQueue.isHeld = true;
    bar.undoLast();
    bar.service->inputChanged("sel");
    bar.diskQueue.run();
    bar.dispatcher->runPending();
    EXPECT_EQ(bar.state().status, "Undid Zipped 1 item");
    bar.dispatcher->advance(60s);
    EXPECT_EQ(bar.state().text, "sel");
}

TEST_F(CommandBarUndo, EndsBeforeTheBarDoes) {
    zip();
    bar.diskQueue.isHeld = true;
    bar.undoLast();
    bar.restart();
    EXPECT_THAT(bar.names(), ElementsAre("a.txt"));
    bar.diskQueue.run();
    bar.restart();
    EXPECT_TRUE(bar.state().operations.at(0).undone);
}

TEST_F(CommandBarUndo, ForgetsTheOldestOfAHundredAndOneRecords) {
    const FileURL file = bar.support / "Torvo/activity.json";
    const OperationStore store(file, bar.systemLog);
    std::vector<Operation> before;
    for (int i = 0; i < 100; ++i)
        before.push_back({UUID::random(), 1.0, std::to_string(i), ZipSelection{}, {}, {bar / "x"}, {}, false});
    store.save(before);
    bar.restart();
    ASSERT_EQ(bar.state().operations, before);
    zip();
    const auto& now = bar.state().operations;
    ASSERT_EQ(now.size(), 100U);
    EXPECT_EQ(now.front().title, "Zipped 1 item");
    EXPECT_TRUE(std::equal(now.begin() + 1, now.end(), before.begin(), before.end() - 1));
    EXPECT_EQ(store.load(), now);
}

} // namespace
} // namespace torvo
