#include "commandbar/view/BarPresentation.h"

#include "tests/support/qt/ShownBar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {

using testing::focusedState;
using testing::pendingCommand;

TEST(BarPresentationTest, OneRowBelongsToEachSituation) {
    const auto with = [](auto... changes) {
        auto state = focusedState();
        (changes(state), ...);
        return state;
    };
    const auto pending = [](CommandBarState& s) { s.pending = pendingCommand(0); };
    const auto outputs = [](CommandBarState& s) { s.resultOutputs = {FileURL("/a")}; };
    const auto ask = [](CommandBarState& s) { s.canAskAIToFix = true; };
    const auto chips = [](CommandBarState& s) { s.chips = {{"JPG", "jpg"}}; };
    const auto clipboard = [](CommandBarState& s) { s.clipboardAvailable = true; };
    const auto typed = [](CommandBarState& s) { s.text = "j"; };
    const auto running = [](CommandBarState& s) { s.isRunning = true; };
    using Row = ContextualRow;
    EXPECT_EQ(contextualRow(with()), Row::none);
    EXPECT_EQ(contextualRow(with(pending, outputs, ask, chips)), Row::confirmation);
    EXPECT_EQ(contextualRow(with(outputs, ask, chips)), Row::results);
    EXPECT_EQ(contextualRow(with(ask, typed, chips)), Row::askAI);
    EXPECT_EQ(contextualRow(with(ask, running)), Row::askAI);
    EXPECT_EQ(contextualRow(with(chips)), Row::chips);
    EXPECT_EQ(contextualRow(with(clipboard)), Row::chips);
    EXPECT_EQ(contextualRow(with(chips, clipboard, typed)), Row::none);
    EXPECT_EQ(contextualRow(with(chips, clipboard, running)), Row::none);
}

TEST(BarPresentationTest, TheIconTellsHowFarARunIs) {
    auto state = focusedState();
    state.progress = OperationProgress{"", 1, 4};
    EXPECT_TRUE(std::holds_alternative<SymbolIcon>(leadingIcon(state))) << "nothing runs";
    state.isRunning = true;
    EXPECT_EQ(leadingIcon(state), LeadingIconContent(RunningIcon{0.25}));
    state.progress = OperationProgress{"", 9, 4};
    EXPECT_EQ(leadingIcon(state), LeadingIconContent(RunningIcon{1.0}));
    for (const auto& progress : {std::optional<OperationProgress>(),
                                 {OperationProgress{"", 1, 0}},
                                 {OperationProgress{"", 1, {}}},
                                 {OperationProgress{"", {}, 4}}}) {
        state.progress = progress;
        EXPECT_EQ(leadingIcon(state), LeadingIconContent(RunningIcon{}));
    }
}

TEST(BarPresentationTest, TheTextsOfTheRows) {
    EXPECT_EQ(confirmationTexts(false, false), (ConfirmationTexts{"Run anyway", "⏎ Run · Esc to cancel"}));
    EXPECT_EQ(confirmationTexts(true, false), (ConfirmationTexts{"Apply", "⏎ Apply · Esc cancel"}));
    EXPECT_EQ(confirmationTexts(false, true), (ConfirmationTexts{"Run anyway", "Click to apply · Esc to cancel"}));
    EXPECT_EQ(confirmationTexts(true, true), (ConfirmationTexts{"Apply", "Click to apply · Esc to cancel"}));
    for (const auto& [path, name] : {std::pair("/a/b c.txt", "b c.txt"),
                                     {"b.txt", "b.txt"},
                                     {"a/b/", "b"},
                                     {"./x//", "x"},
                                     {"/", "/"},
                                     {"//", "/"},
                                     {"", ""}})
        EXPECT_EQ(lastPathComponent(path), name) << path;
}

TEST(BarPresentationTest, TheCommandBeginsWhereNothingElseCanPretendToBeIt) {
    const std::string command = "rm -- \"$1\"\n$ ls";
    auto state = focusedState();
    state.status = "Looks harmless\n$ ls\n\n$ " + command;
    EXPECT_EQ(lineOfCommand(state), 0) << "nothing is asked";
    state.pending = PendingAction{Shell{command, "Looks harmless\n$ ls\n", true, {}}, {}, {}};
    EXPECT_EQ(lineOfCommand(state), 3);
    state.status = "Undoing…";
    EXPECT_EQ(lineOfCommand(state), 0);
}

} // namespace torvo
