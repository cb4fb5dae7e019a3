// Somebody types, clicks and reads: from the keys in the view to the files on the disk.
#include "tests/support/Program.h"
#include "tests/support/qt/ShownBar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QClipboard>
#include <QContextMenuEvent>
#include <QListView>
#include <QMenu>
#include <algorithm>

namespace torvo {

using ::testing::ElementsAre;

class CommandBarJourney : public ::testing::Test {
  protected:
    void picture(const std::string& name) {
        ASSERT_EQ(testing::run({"black", (bar / name).path(), "8", "6"}, {.program = "/usr/bin/vips"}).status, 0);
    }
    /// Opens the bar by the shortcut.
    void open() {
        bar.summon();
        shown.follow();
    }
    [[nodiscard]] bool settlesAs(std::string_view status) {
        const bool settles = bar.settlesAs(status);
        shown.follow();
        return settles;
    }

    testing::ShownBar shown;
    testing::Bar& bar = shown.bar;
};

TEST_F(CommandBarJourney, TypedKeysConvertPicturesAndAClickUndoesIt) {
    picture("a.png");
    picture("b c.png");
    bar.select({"a.png", "b c.png"});
    open();
    EXPECT_TRUE(shown.field().hasFocus());
    shown.type("jpg");
    EXPECT_EQ(bar.state().text, "jpg");
    EXPECT_EQ(shown.status().toPlainText(), "⏎  Convert selected images to JPG");
    shown.press(Qt::Key_Return);
    ASSERT_TRUE(settlesAs("Converted 2 images to JPG"));
    EXPECT_THAT(bar.statuses, ::testing::Contains("Running…   Esc to cancel"));
    EXPECT_THAT(bar.names(), ElementsAre("a.jpg", "a.png", "b c.jpg", "b c.png"));
    EXPECT_EQ(shown.status().toPlainText(), "Converted 2 images to JPG");
    EXPECT_THAT(shown.labels(), ElementsAre("a.jpg", "b c.jpg"));
    ASSERT_TRUE(shown.click("Undo"));
    ASSERT_TRUE(settlesAs("Undid Converted 2 images to JPG"));
    EXPECT_THAT(bar.names(), ElementsAre("a.png", "b c.png"));
    EXPECT_THAT(shown.buttons(), ::testing::Not(::testing::Contains("Undo")));
}

TEST_F(CommandBarJourney, TheHistoryIsBrowsedWithTheArrowsAndTheDraftComesBack) {
    bar.select({});
    open();
    for (const char* command : {"select all png", "select all jpg"}) {
        bar.enter(command);
        bar.service->cancel();
    }
    open();
    shown.type("dra");
    shown.field().setCursorPosition(1);
    for (const char* expected : {"select all jpg", "select all png", "select all png"}) {
        shown.press(Qt::Key_Up);
        EXPECT_EQ(shown.field().text(), expected);
        EXPECT_EQ(shown.field().cursorPosition(), shown.field().text().size());
    }
    for (const char* expected : {"select all jpg", "dra", "dra"}) {
        shown.press(Qt::Key_Down);
        EXPECT_EQ(shown.field().text(), expected);
    }
    shown.type("ft");
    EXPECT_EQ(bar.state().text, "draft");
}

TEST_F(CommandBarJourney, ADestructiveCommandTakesAClickAndEscLeavesEverythingAsItIs) {
    (void)bar.files.file("a.txt");
    bar.select({"a.txt"});
    open();
    for (const bool isConfirmed : {false, true}) {
        bar.modelAnswers(R"(rm -- "$1")", "Delete the file");
        bar.service->inputChanged("");
        shown.type("delete it");
        shown.press(Qt::Key_Return);
        ASSERT_TRUE(settlesAs("⚠️ DESTRUCTIVE — Delete the file\n$ rm -- \"$1\"")) << bar.state().status;
        EXPECT_THAT(shown.labels(), ElementsAre("Click to apply · Esc to cancel"));
        shown.press(Qt::Key_Return);
        EXPECT_THAT(shown.buttons(), ElementsAre("Run anyway", "Cancel"));
        // By keyboard: to the button and a press on it, or away.
        if (isConfirmed) {
            shown.press(Qt::Key_Tab);
            shown.press(Qt::Key_Space, " ");
            ASSERT_TRUE(settlesAs("Delete the file"));
        } else {
            shown.press(Qt::Key_Escape);
            EXPECT_EQ(shown.status().toPlainText(), "Cancelled");
        }
        EXPECT_TRUE(shown.field().hasFocus());
        EXPECT_THAT(bar.names(), isConfirmed ? std::vector<std::string>{} : std::vector<std::string>{"a.txt"});
    }
}

TEST_F(CommandBarJourney, AClickOnTheDockedBarOpensItAndAChipRuns) {
    (void)bar.files.file("a.txt");
    (void)bar.files.file("b.txt");
    bar.select({"a.txt", "b.txt"});
    bar.service->syncAttachment();
    shown.follow();
    EXPECT_FALSE(shown.field().isVisible());
    EXPECT_EQ(bar.window.frame().width, 300);
    const auto top = bar.window.frame().top();
    ASSERT_EQ(shown.seen<QAbstractButton>().size(), 1U);
    shown.seen<QAbstractButton>()[0]->click();
    shown.follow();
    EXPECT_TRUE(bar.window.isKey());
    EXPECT_EQ(bar.window.frame().width, 800);
    EXPECT_EQ(bar.window.frame().top(), top);
    EXPECT_TRUE(shown.field().hasFocus());

    bar.window.resignKey();
    shown.follow();
    EXPECT_FALSE(shown.field().isVisible());
    bar.window.makeKey();
    shown.follow();
    const auto chips = shown.buttons();
    const auto zip = std::ranges::find_if(chips, [](const auto& label) { return label.starts_with("Zip"); });
    ASSERT_NE(zip, chips.end());
    ASSERT_TRUE(shown.click(*zip));
    ASSERT_TRUE(bar.settles());
    EXPECT_EQ(bar.names().size(), 3U);
    const auto outputs = bar.state().resultOutputs;
    ASSERT_EQ(outputs.size(), 1U);
    ASSERT_TRUE(shown.click("Reveal"));
    EXPECT_THAT(bar.finder.workspace.revealed, ElementsAre(outputs));
}

TEST_F(CommandBarJourney, AFailureIsHandedToTheModelAndTheClipboardToTheBar) {
    const auto file = bar.files.file("a.txt");
    bar.pasteboard.files = {file};
    bar.select({});
    open();
    ASSERT_TRUE(shown.click("Use clipboard"));
    EXPECT_THAT(bar.finder.selection(), ElementsAre(file));
    EXPECT_THAT(shown.status().toPlainText().toStdString(), ::testing::EndsWith("1 dropped"));
    shown.type("shrink it");
    shown.press(Qt::Key_Return);
    ASSERT_TRUE(bar.settles());
    shown.follow();
    EXPECT_THAT(shown.buttons(), ElementsAre("Ask AI to fix"));
    bar.modelAnswers("touch fixed", "Fix it");
    ASSERT_TRUE(shown.click("Ask AI to fix"));
    ASSERT_TRUE(bar.settles());
    shown.follow();
    ASSERT_TRUE(shown.click("Run anyway")) << bar.state().status;
    ASSERT_TRUE(settlesAs("Fix it"));
    EXPECT_THAT(bar.names(), ElementsAre("a.txt", "fixed"));
}

TEST_F(CommandBarJourney, WhatIsTypedWhileAButtonOrTheStatusHasTheKeyboardGoesToTheField) {
    bar.select({});
    open();
    shown.status().setFocus();
    shown.type("zi");
    EXPECT_TRUE(shown.field().hasFocus());
    EXPECT_EQ(shown.field().text(), "zi");
    shown.status().setFocus();
    shown.press(Qt::Key_Escape);
    EXPECT_EQ(shown.field().text(), "");

    // The list of renames has a search of its own for what is typed.
    auto state = testing::focusedState("rename", "Rename");
    state.pending = testing::pendingCommand(3);
    shown.present(state);
    auto& list = *shown.view.findChild<QListView*>();
    list.setFocus();
    shown.press(Qt::Key_Down);
    EXPECT_TRUE(list.hasFocus());
    shown.type("s");
    EXPECT_EQ(shown.field().text(), "renames");
}

TEST_F(CommandBarJourney, TheCommandIsSeenHoweverMuchIsSaidBeforeIt) {
    bar.select({});
    open();
    std::string explanation = "Harmless\n$ ls";
    for (int i = 0; i < 40; ++i)
        explanation += "\n ";
    bar.modelAnswers("touch all-of-it", explanation);
    shown.type("do it");
    shown.press(Qt::Key_Return);
    ASSERT_TRUE(bar.settles());
    shown.follow();
    auto& status = shown.status();
    const auto isSeen = [&](const QString& text) {
        return status.viewport()->rect().intersects(status.cursorRect(status.document()->find(text)));
    };
    EXPECT_TRUE(isSeen("touch all-of-it"));
    EXPECT_FALSE(isSeen("Harmless"));
    // By keyboard the rest can be read before the buttons are reached.
    shown.press(Qt::Key_Tab);
    EXPECT_TRUE(status.hasFocus());
    for (int i = 0; i < 10; ++i)
        shown.press(Qt::Key_PageUp);
    EXPECT_TRUE(isSeen("Harmless"));
    shown.press(Qt::Key_Tab);
    EXPECT_FALSE(status.hasFocus());
}

TEST_F(CommandBarJourney, TheMenuIsTheSameOnTheFieldAfterWhatCanBeDoneWithItsText) {
    shown.view.setMenuItems([](QMenu& menu) { menu.addAction("Quit Torvo"); });
    open();
    const auto items = [&](QWidget& place) {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {1, 1}, place.mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(&place, &event);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        std::vector<std::string> titles;
        for (const auto* action : menu->actions())
            if (action->isVisible() && !action->isSeparator())
                titles.push_back(action->text().remove('&').section('\t', 0, 0).toStdString());
        menu->close();
        return titles;
    };
    EXPECT_THAT(items(shown.view), ElementsAre("Quit Torvo"));
    QApplication::clipboard()->clear();
    EXPECT_THAT(items(shown.field()), ElementsAre("Quit Torvo"));
    shown.type("zip");
    EXPECT_THAT(items(shown.field()), ElementsAre("Undo", "Select All", "Quit Torvo"));
}

} // namespace torvo
