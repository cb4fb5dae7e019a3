// What a user asks of the bar beside a file manager, from the first key to the files afterwards: the keys and the
// clicks are real, the bar's controls are found by their names, the model answers on loopback.
#include "tests/support/BarJourney.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"

#include <gmock/gmock.h>

#include <sstream>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CommandJourneyTest : public testing::BarJourney {
  protected:
    /// Whether a file comes to be there, or to be gone.
    [[nodiscard]] bool appears(const std::string& name) const {
        return testing::eventually([&] { return (files / name).exists(); });
    }
    [[nodiscard]] bool vanishes(const std::string& name) const {
        return testing::eventually([&] { return !(files / name).exists(); });
    }
};

TEST_F(CommandJourneyTest, ConvertsAndTakesItBack) {
    picture("one.png");
    picture("two.png");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"one.png", "two.png"}));
    ASSERT_TRUE(bar->carriesOut("jpg"));
    EXPECT_TRUE(screen->says("Converted 2 images to JPG"));
    EXPECT_TRUE(screen->says("one.jpg")) << "what came of it is on offer";
    EXPECT_TRUE(session.selectionBecomes({"one.jpg", "two.jpg"}));
    ASSERT_TRUE(screen->click("Undo"));
    EXPECT_TRUE(screen->says("Undid Converted 2 images to JPG"));
    EXPECT_TRUE(vanishes("one.jpg") && vanishes("two.jpg"));
    EXPECT_TRUE((files / "one.png").exists() && (files / "two.png").exists());
    EXPECT_TRUE((session.home() / "data/Trash/files/one.jpg").exists()) << "not deleted for good";
    EXPECT_TRUE(screen->awaitsEnd("Undo"));
}

TEST_F(CommandJourneyTest, TakesFilesWhileAnotherProgramIsInFront) {
    const auto file = files.file("a.txt");
    ASSERT_TRUE(start());
    const testing::XWindow editor(session.display(), "Editor", 4711);
    session.activate(editor.id());
    ASSERT_TRUE(session.desktop().eventually([&] { return !bar->isShown(); }));
    ASSERT_EQ(testing::run({"drop", file.path()}, {.program = TORVO_BIN_DIR "/torvo"}).status, 0);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar->isKey(); }));
    session.type("zip");
    session.press("Return");
    EXPECT_TRUE(appears("Archive.zip"));
}

TEST_F(CommandJourneyTest, ClosingTheBarLeavesItAndNothingElse) {
    ASSERT_TRUE(start());
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(bar->summon());
        session.type("zip");
        session.press("alt+F4");
        EXPECT_TRUE(session.desktop().eventually([&] {
            return bar->isShown() && session.display().activeWindow() == session.window();
        })) << "as Esc does";
    }
}

TEST_F(CommandJourneyTest, ShowsARenameBeforeItIsDone) {
    for (const char* name : {"a.txt", "b.txt"})
        (void)files.file(name, name);
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"a.txt", "b.txt"}));
    modelPlans(R"(for f in "$@"; do mv "$f" "${f%.txt}.md"; done)", "Rename to md",
               R"(for f in "$@"; do printf '%s\t%s\n' "$f" "${f%.txt}.md"; done)", true);
    ASSERT_TRUE(bar->enter("make them md"));
    ASSERT_TRUE(screen->says("Rename to md\n$ for f"));
    for (const char* row : {"a.txt → a.md", "b.txt → b.md"})
        EXPECT_TRUE(screen->await(row)) << row;
    EXPECT_TRUE((files / "a.txt").exists());
    ASSERT_TRUE(screen->click("Apply"));
    EXPECT_TRUE(appears("a.md") && appears("b.md"));
    EXPECT_TRUE(screen->says("Rename to md"));
    EXPECT_FALSE((files / "a.txt").exists() || (files / "b.txt").exists());
    EXPECT_EQ(testing::readFile(files / "a.md"), "a.txt");
}

TEST_F(CommandJourneyTest, ReturnAloneDestroysNothing) {
    (void)files.file("a.txt");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"a.txt"}));
    for (int i = 0; i < 2; ++i)
        modelPlans(R"(rm "$1")", "Delete it", "", true);
    ASSERT_TRUE(bar->enter("remove this"));
    ASSERT_TRUE(screen->says("DESTRUCTIVE — Delete it\n$ rm"));
    EXPECT_TRUE(screen->says("Click to apply · Esc to cancel"));
    session.press("Return");
    session.press("Escape");
    EXPECT_TRUE(screen->says("Cancelled")) << "Esc still found the question there";
    EXPECT_TRUE(logs("cancelled-at-confirm"));
    EXPECT_FALSE(logged("confirmed"));
    EXPECT_TRUE((files / "a.txt").exists());

    ASSERT_TRUE(bar->enter("remove this"));
    ASSERT_TRUE(screen->press("Run anyway"));
    EXPECT_TRUE(vanishes("a.txt"));
    EXPECT_TRUE(logs("completed"));
}

TEST_F(CommandJourneyTest, AsksTheModelToMendWhatFailed) {
    (void)files.file("a.txt");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"a.txt"}));
    model.queue(testing::ScriptedReply::status(500, "overloaded"));
    modelPlans("print -u2 no such luck; exit 3", "Try");
    modelPlans(R"(print done > "${1%.txt}.out")", "Write it");
    ASSERT_TRUE(bar->enter("write it out"));
    ASSERT_TRUE(screen->says("Couldn't reach the local LLM (" + model.url() + ") — "));
    ASSERT_TRUE(screen->click("Ask AI to fix"));
    ASSERT_TRUE(screen->press("Run anyway"));
    ASSERT_TRUE(screen->says("no such luck"));
    ASSERT_TRUE(screen->press("Ask AI to fix"));
    ASSERT_TRUE(screen->says("Write it\n$ print"));
    ASSERT_TRUE(screen->press("Run anyway"));
    EXPECT_TRUE(appears("a.out"));
    EXPECT_TRUE(screen->says("a.out"));
    const std::string begin = "write it out\n\nThe previous attempt failed with this error: ";
    EXPECT_THAT(questions(),
                ElementsAre("write it out", HasSubstr(begin + "Couldn't reach"),
                            HasSubstr(begin + "Command failed: no such luck\nProvide a corrected command.")));
}

TEST_F(CommandJourneyTest, EscapeEndsEverythingThatRuns) {
    (void)files.file("a.txt");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"a.txt"}));
    modelPlans("(sleep 300 & print $$ $! > pids; wait) & wait; touch late", "Take long");
    ASSERT_TRUE(bar->enter("take your time"));
    ASSERT_TRUE(screen->press("Run anyway"));
    LinuxProcessHost host;
    std::vector<ProcessIdentity> processes;
    ASSERT_TRUE(testing::eventually([&] {
        processes.clear();
        std::istringstream pids(testing::readFile(files / "pids"));
        for (std::int32_t pid = 0; pids >> pid;)
            if (const auto process = host.identity(pid))
                processes.push_back(*process);
        return processes.size() == 2;
    }));
    EXPECT_TRUE(screen->says("Esc to cancel"));
    session.press("Escape");
    EXPECT_TRUE(screen->says("Cancelled"));
    EXPECT_TRUE(logs("cancelled"));
    for (const auto& process : processes)
        EXPECT_TRUE(testing::eventually([&] { return host.hasEnded(process); }));
    EXPECT_FALSE((files / "late").exists());
    EXPECT_TRUE(bar->carriesOut("select all txt", "selected")) << "the bar is free again";
}

} // namespace
} // namespace torvo
