// A user's minute with the bar: what is typed, what the bar says, and what is on the disk afterwards.
#include "support/Text.h"
#include "tests/support/Bar.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::readFile;
using ::testing::StartsWith;

class CommandBarScenario : public ::testing::Test {
  protected:
    void picture(const std::string& name) {
        ASSERT_EQ(testing::run({"black", (bar / name).path(), "8", "6"}, {.program = "/usr/bin/vips"}).status, 0);
    }
    /// The command that renames each selected file to "new-" and its name, and its preview.
    static constexpr const char* kRename = R"(for f in "$@"; do mv -- "$f" "${f:h}/new-${f:t}"; done)";
    static constexpr const char* kRenamePreview =
        R"sh(for f in "$@"; do printf '%s\t%s\n' "$f" "$(dirname "$f")/new-$(basename "$f")"; done)sh";

    testing::Bar bar;
};

TEST_F(CommandBarScenario, JpgReturnUndo) {
    picture("a.png");
    picture("b c.png");
    bar.select({"a.png", "b c.png"});
    bar.summon();
    EXPECT_EQ(bar.state().contextHint, "📁 " + std::string(bar.files.url().lastPathComponent()) + " · 2 selected");
    bar.service->inputChanged("jpg");
    EXPECT_EQ(bar.state().status, "⏎  Convert selected images to JPG");
    bar.service->submit();
    ASSERT_TRUE(bar.settlesAs("Converted 2 images to JPG"));
    EXPECT_THAT(bar.statuses, Contains("Running…   Esc to cancel"));
    EXPECT_EQ(bar.state().statusKind, StatusKind::success);
    EXPECT_THAT(bar.names(), ElementsAre("a.jpg", "a.png", "b c.jpg", "b c.png"));
    EXPECT_THAT(bar.selectedNames(), ElementsAre("a.jpg", "b c.jpg"));
    EXPECT_EQ(bar.state().resultOutputs.size(), 2U);
    ASSERT_EQ(bar.state().operations.size(), 1U);
    EXPECT_EQ(bar.state().operations[0].date, 1000);

    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undid Converted 2 images to JPG");
    EXPECT_THAT(bar.names(), ElementsAre("a.png", "b c.png"));
    EXPECT_THAT(bar.trash.items(), ElementsAre(bar / "a.jpg", bar / "b c.jpg"));
    EXPECT_THAT(bar.state().resultOutputs, IsEmpty());
    // Once is enough.
    bar.undo(bar.state().operations[0].id);
    EXPECT_EQ(bar.trash.items().size(), 2U);

    bar.dispatcher->advance(1399ms);
    EXPECT_NE(bar.state().status, "");
    bar.dispatcher->advance(1ms);
    EXPECT_EQ(bar.state().status, "");
    EXPECT_TRUE(bar.window.isVisible()) << "a docked bar stays";
    EXPECT_THAT(bar.logged(), ElementsAre("preset: jpg", "completed: Converted 2 images to JPG"));

    bar.restart();
    ASSERT_EQ(bar.state().operations.size(), 1U);
    EXPECT_TRUE(bar.state().operations[0].undone);
}

TEST_F(CommandBarScenario, RenameWithPreviewApplyUndoRerun) {
    for (const char* name : {"a.txt", "b.txt", "odd \xFF'\"\\.txt"})
        (void)bar.files.file(name, name);
    bar.select({"b.txt", "a.txt", "odd \xFF'\"\\.txt"});
    bar.modelAnswers(kRename, "Put new- before the names", kRenamePreview);
    bar.enter("put new before the names");
    EXPECT_EQ(bar.state().status, "Asking local LLM…");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm());
    EXPECT_EQ(bar.state().status, std::string("Put new- before the names\n$ ") + kRename);
    ASSERT_EQ(bar.state().pending->rows.size(), 3U);
    EXPECT_EQ(bar.state().pending->rows[1], (PreviewRow{(bar / "a.txt").path(), (bar / "new-a.txt").path()}));
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "b.txt", "odd \xFF'\"\\.txt"));

    // mv is a command that Return alone does not confirm.
    bar.service->submit();
    EXPECT_TRUE(bar.state().awaitingConfirm());
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Put new- before the names"));
    EXPECT_THAT(bar.names(), ElementsAre("new-a.txt", "new-b.txt", "new-odd \xFF'\"\\.txt"));
    ASSERT_EQ(bar.state().operations.size(), 1U);
    const auto id = bar.state().operations[0].id;
    EXPECT_EQ(bar.state().operations[0].subtitle(), "Renamed 3 files");

    // A record that went to the disk and back serves as well.
    bar.restart();
    (void)bar.files.file("a.txt", "somebody else's");
    bar.undo(id);
    EXPECT_EQ(bar.state().status, "Can't undo: files changed since this operation");
    EXPECT_EQ(readFile(bar / "a.txt"), "somebody else's");
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "new-a.txt", "new-b.txt", "new-odd \xFF'\"\\.txt"));
    ASSERT_EQ(::unlink((bar / "a.txt").path().c_str()), 0);
    bar.undo(id);
    EXPECT_EQ(bar.state().status, "Undid Put new- before the names");
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "b.txt", "odd \xFF'\"\\.txt"));
    EXPECT_THAT(bar.selectedNames(), ElementsAre("b.txt", "a.txt", "odd \xFF'\"\\.txt"));
    for (const auto& name : bar.names())
        EXPECT_EQ(readFile(bar / name), name);

    bar.service->rerun(id);
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm()) << bar.state().status;
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Put new- before the names"));
    EXPECT_THAT(bar.names(), ElementsAre("new-a.txt", "new-b.txt", "new-odd \xFF'\"\\.txt"));
    EXPECT_EQ(bar.state().operations.size(), 2U);
    // The names are gone by now: the preview says so, and nothing runs.
    bar.service->rerun(id);
    ASSERT_TRUE(bar.settlesAs("b.txt no longer exists."));
    EXPECT_THAT(bar.logged(),
                ElementsAre("llm: put new before the names", "confirmed", "completed: Put new- before the names",
                            "rerun: Put new- before the names", "confirmed", "completed: Put new- before the names",
                            "rerun: Put new- before the names", "preview-failed: b.txt no longer exists."));
}

TEST_F(CommandBarScenario, DestructiveCommandReturnDoesNothingConfirmRunsIt) {
    (void)bar.files.file("a.txt");
    (void)bar.files.file("keep.txt");
    bar.select({"a.txt"});
    bar.modelAnswers(R"(rm -- "$1")", "Delete the file");
    bar.enter("delete it");
    ASSERT_TRUE(bar.settles());
    EXPECT_EQ(bar.state().status, "⚠️ DESTRUCTIVE — Delete the file\n$ rm -- \"$1\"");
    EXPECT_EQ(bar.state().statusKind, StatusKind::failure);
    bar.service->submit();
    bar.service->submit();
    EXPECT_TRUE(bar.state().awaitingConfirm());
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "keep.txt"));
    // The user has selected something else since: what was shown is what runs.
    bar.select({"keep.txt"});
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Delete the file"));
    EXPECT_THAT(bar.names(), ElementsAre("keep.txt"));
    EXPECT_THAT(bar.state().operations, IsEmpty());
    EXPECT_THAT(bar.logged(), ElementsAre("llm: delete it", "confirmed", "completed: Delete the file"));
}

TEST_F(CommandBarScenario, EscInEveryState) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    // While the model thinks: its answer comes to nothing, and it is told to stop.
    bar.server.queue(testing::ScriptedReply::nothing().then(testing::ScriptedReply::Hang{}));
    bar.enter("think long");
    ASSERT_TRUE(bar.server.waitForRequests(1));
    bar.service->cancel();
    EXPECT_EQ(bar.state().status, "");
    EXPECT_TRUE(bar.server.waitForHangUps(1));

    // While a preview runs.
    bar.modelAnswers(kRename, "Rename", R"(printf x; for f in "$@"; do printf '%s' "$f"; done)");
    bar.enter("rename them");
    ASSERT_TRUE(bar.dispatcher->runUntil([&] { return bar.state().status == "Preparing preview…"; }));
    bar.service->cancel();
    EXPECT_EQ(bar.state().status, "Cancelled");
    EXPECT_FALSE(bar.state().isRunning);

    // While the bar asks.
    bar.modelAnswers("touch never");
    bar.enter("touch it");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm());
    bar.service->cancel();
    EXPECT_EQ(bar.state().status, "Cancelled");
    bar.service->confirmPending();
    EXPECT_FALSE(bar.state().isRunning);

    // While a command runs: its whole tree goes, and what it says afterwards is not heard.
    bar.modelAnswers("print $$ > pid; trap '' TERM; sleep 600 & sleep 600");
    bar.enter("wait");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().pendingIsDestructive()) << "it writes a file";
    bar.service->confirmPending();
    ASSERT_TRUE(testing::eventually([&] { return !readFile(bar / "pid").empty(); }));
    bar.service->cancel();
    EXPECT_EQ(bar.state().status, "Cancelled");
    const auto child = std::stoi(readFile(bar / "pid"));
    EXPECT_TRUE(testing::eventually([&] { return ::kill(child, 0) != 0; }));
    // The next run has the runner to itself.
    ASSERT_TRUE(bar.begin("next", "touch next", "Next"));
    ASSERT_TRUE(bar.settlesAs("Next"));
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "next", "pid"));

    // With nothing to end: an undocked bar goes away.
    bar.service->setAutoAttachEnabled(false);
    bar.service->cancel();
    EXPECT_FALSE(bar.window.isVisible());
    EXPECT_THAT(bar.logged(),
                ElementsAre("llm: think long", "llm: rename them", "cancelled", "llm: touch it", "cancelled-at-confirm",
                            "llm: wait", "confirmed", "cancelled", "llm: next", "confirmed", "completed: Next"));
}

TEST_F(CommandBarScenario, ListingsRunAtOnceAndAreAskedForWhenTheyMayDoMore) {
    for (const char* name : {"a.txt", "b.txt", "c.md"})
        (void)bar.files.file(name);
    bar.select({});
    bar.enter("select all txt");
    EXPECT_EQ(bar.state().status, "Selected 2 items");
    bar.modelAnswers("ls *.md", "Find notes", "", "select");
    bar.enter("select my notes");
    ASSERT_TRUE(bar.settlesAs("Selected 1 item"));
    EXPECT_THAT(bar.selectedNames(), ElementsAre("c.md"));
    bar.modelAnswers("ls *.txt; true", "Find texts", "", "select");
    bar.enter("select my texts");
    ASSERT_TRUE(bar.settles());
    EXPECT_TRUE(bar.state().pendingIsDestructive());
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Selected 2 items"));
    // A listing whose text fooled the judgement is held by the sandbox, and nothing is lost.
    bar.modelAnswers("sort '-oc.md' a.txt", "Sort", "", "select");
    bar.enter("select sorted");
    ASSERT_TRUE(bar.settles());
    EXPECT_THAT(bar.state().status, StartsWith("Selection command failed: "));
    bar.finder.show(std::nullopt);
    bar.enter("select all png");
    EXPECT_EQ(bar.state().status, "Open a Finder window first");
    EXPECT_TRUE(bar.state().canAskAIToFix);
}

TEST_F(CommandBarScenario, DryRunAndUnsafePreviewsShowTheFilesAndTheCommand) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    bar.modelAnswers("mv a.txt b.txt", "Rename", "touch evil; printf x");
    bar.enter("rename it");
    ASSERT_TRUE(bar.settles());
    // The planner drops a preview that does more than print, so the plain question is asked.
    EXPECT_EQ(bar.state().status, "⚠️ DESTRUCTIVE — Rename\n$ mv a.txt b.txt");
    bar.service->cancel();
    ASSERT_TRUE(bar.defaults.set("dryRunPreview", true).has_value());
    bar.modelAnswers("touch b.txt", "Make b");
    bar.enter("make b");
    ASSERT_TRUE(bar.settles());
    EXPECT_EQ(bar.state().status, "Make b\n$ touch b.txt");
    EXPECT_THAT(bar.state().pending->rows, ElementsAre(PreviewRow{(bar / "a.txt").path(), std::nullopt}));
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Make b"));
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "b.txt"));
}

TEST_F(CommandBarScenario, AsksForEverythingWhereNothingCanBeConfined) {
    for (const char* name : {"a.txt", "b.md"})
        (void)bar.files.file(name);
    bar.select({"a.txt"});
    for (const auto confining : {testing::Confining::isKnownToFail, testing::Confining::fails}) {
        bar.processes.confining = confining;
        bar.modelAnswers(kRename, "Rename", kRenamePreview);
        bar.enter("rename it");
        ASSERT_TRUE(bar.settles());
        EXPECT_EQ(bar.state().status,
                  std::string("Rename\nPreview unavailable; review the exact command.\n$ ") + kRename);
        ASSERT_TRUE(bar.state().pendingIsDestructive());
        EXPECT_THAT(bar.state().pending->rows, ElementsAre(PreviewRow{(bar / "a.txt").path(), std::nullopt}));
        bar.service->cancel();
    }
    bar.processes.confining = testing::Confining::isKnownToFail;
    bar.modelAnswers("ls *.md", "Find notes", "", "select");
    bar.enter("select my notes");
    ASSERT_TRUE(bar.settles());
    ASSERT_TRUE(bar.state().awaitingConfirm()) << bar.state().status;
    EXPECT_THAT(bar.state().status, HasSubstr("ls *.md"));
    EXPECT_THAT(bar.selectedNames(), ElementsAre("a.txt"));
    bar.service->confirmPending();
    ASSERT_TRUE(bar.settlesAs("Selected 1 item")) << bar.state().status;
    EXPECT_THAT(bar.selectedNames(), ElementsAre("b.md"));
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "b.md"));
}

TEST_F(CommandBarScenario, UndoStopsAtTheFirstFailureAndCanBeTriedAgain) {
    bar.select({});
    ASSERT_TRUE(bar.begin("make three", "mkdir new; touch new/inside one two", "Make three"));
    ASSERT_TRUE(bar.settlesAs("Make three"));
    EXPECT_THAT(bar.names(), ElementsAre("new", "one", "two"));
    const auto operation = bar.state().operations.at(0);
    ASSERT_EQ(operation.outputs.size(), 3U);
    bar.trash.refused = operation.outputs[1];
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undo failed: the Trash is full");
    EXPECT_FALSE(bar.state().operations[0].undone);
    EXPECT_FALSE(operation.outputs[0].exists());
    EXPECT_TRUE(operation.outputs[1].exists());
    bar.trash.refused.reset();
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undid Make three");
    EXPECT_THAT(bar.names(), IsEmpty());
}

TEST_F(CommandBarScenario, UndoTakesWhatIsThereByNow) {
    bar.select({});
    ASSERT_TRUE(bar.begin("make three", "touch one two three", "Make three"));
    ASSERT_TRUE(bar.settlesAs("Make three"));
    ASSERT_EQ(::unlink((bar / "one").path().c_str()), 0);
    ASSERT_EQ(::unlink((bar / "two").path().c_str()), 0);
    (void)bar.files.file("two/now a folder", "text");
    bar.undoLast();
    EXPECT_EQ(bar.state().status, "Undid Make three");
    EXPECT_THAT(bar.names(), IsEmpty());
    EXPECT_EQ(bar.trash.items().size(), 2U) << "what was put in the place of a file is in the Trash, not lost";
}

TEST_F(CommandBarScenario, TheBarMayQuitWhateverIsUnderWay) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    ASSERT_TRUE(bar.begin("wait", "ps -o ppid= -p $$; touch started; sleep 600", "Wait"));
    ASSERT_TRUE(testing::eventually([&] { return (bar / "started").exists(); }));
    bar.restart();
    EXPECT_FALSE(bar.state().isRunning);

    bar.server.queue(testing::ScriptedReply::nothing().then(testing::ScriptedReply::Hang{}));
    bar.enter("think");
    ASSERT_TRUE(bar.server.waitForRequests(2));
    bar.restart();
    EXPECT_TRUE(bar.server.waitForHangUps(1));

    // The run that was stopped has given its turn away.
    bar.enter("zip");
    ASSERT_TRUE(bar.settlesAs("Zipped 1 item")) << bar.state().status;
    EXPECT_THAT(bar.names(), ElementsAre("Archive.zip", "a.txt", "started"));
}

} // namespace
} // namespace torvo
