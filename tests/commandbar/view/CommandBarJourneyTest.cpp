// Somebody types and reads, with the view in a window.
#include "tests/support/qt/ShownBar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QClipboard>
#include <QContextMenuEvent>
#include <QListView>
#include <QMenu>

namespace torvo {

using ::testing::ElementsAre;

class CommandBarJourney : public ::testing::Test {
  protected:
    /// Opens the bar by the shortcut.
    void open() {
        bar.summon();
        shown.follow();
    }

    testing::ShownBar shown;
    testing::Bar& bar = shown.bar;
};

TEST_F(CommandBarJourney, WhateverHasTheKeyboardTypingAndTheArrowsGoToTheField) {
    bar.select({});
    bar.enter("deselect");
    bar.service->cancel();
    open();
    shown.status().setFocus();
    shown.type("zi");
    EXPECT_TRUE(shown.field().hasFocus());
    EXPECT_EQ(shown.field().text(), "zi");
    shown.field().setCursorPosition(1);
    shown.press(Qt::Key_Up);
    EXPECT_EQ(shown.field().text(), "deselect");
    EXPECT_EQ(shown.field().cursorPosition(), 8);
    shown.press(Qt::Key_Down);
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
