#include "commandbar/view/CommandTextField.h"

#include "tests/support/qt/OffscreenApplication.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QKeyEvent>
#include <string>
#include <vector>

namespace torvo {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CommandTextFieldTest : public ::testing::Test {
  protected:
    CommandTextFieldTest() {
        window.resize(300, 60);
        other.setGeometry(0, 30, 100, 20);
        window.show();
        window.activateWindow();
        other.setFocus();
        QApplication::processEvents();
    }
    void send(int key, Qt::KeyboardModifiers modifiers = {}, const QString& text = {}, bool isRepeated = false) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text, isRepeated);
        QApplication::sendEvent(&field, &event);
    }

    testing::OffscreenApplication application;
    std::vector<std::string> calls;
    QWidget window;
    CommandTextField field{{.onSubmit = [this](const std::string& text) { calls.push_back("submit " + text); },
                            .onCancel = [this] { calls.emplace_back("cancel"); },
                            .onChange = [this](const std::string& text) { calls.push_back("change " + text); },
                            .onMoveUp = [this] { calls.emplace_back("up"); },
                            .onMoveDown = [this] { calls.emplace_back("down"); }},
                           &window};
    QLineEdit other{&window};
};

TEST_F(CommandTextFieldTest, TheKeysOfTheBarAreItsOwnAndAllOthersEdit) {
    field.showText("zip");
    for (const auto& [key, modifiers, call] : {std::tuple(Qt::Key_Return, Qt::KeyboardModifiers(), "submit zip"),
                                               {Qt::Key_Enter, Qt::KeypadModifier, "submit zip"},
                                               {Qt::Key_Escape, {}, "cancel"},
                                               {Qt::Key_Up, {}, "up"},
                                               {Qt::Key_Down, {}, "down"}}) {
        calls.clear();
        send(key, modifiers);
        EXPECT_THAT(calls, ElementsAre(call));
    }
    calls.clear();
    send(Qt::Key_Left);
    send(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_THAT(calls, IsEmpty());
    send(Qt::Key_X, {}, "é");
    send(Qt::Key_Backspace);
    EXPECT_THAT(calls, ElementsAre("change zié"
                                   "p",
                                   "change zip"));
    EXPECT_EQ(field.text(), "zip");
}

TEST_F(CommandTextFieldTest, AKeyThatIsHeldDownAnswersOnce) {
    field.showText("zip");
    for (const bool isRepeated : {false, true, true}) {
        send(Qt::Key_Return, {}, "\r", isRepeated);
        send(Qt::Key_Escape, {}, {}, isRepeated);
        send(Qt::Key_Up, {}, {}, isRepeated);
    }
    EXPECT_THAT(calls, ElementsAre("submit zip", "cancel", "up", "up", "up"));
}

TEST_F(CommandTextFieldTest, ATextFromOutsideIsNoEditAndTheSameTextMovesNothing) {
    field.showText("select all png");
    field.setCursorPosition(3);
    field.showText("select all png");
    EXPECT_EQ(field.cursorPosition(), 3);
    field.showText("zip");
    EXPECT_EQ(field.text(), "zip");
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(CommandTextFieldTest, ANewFocusTriggerTakesTheKeyboardOnTheNextTurn) {
    field.showText("rename these");
    field.setFocusTrigger(0);
    QApplication::processEvents();
    EXPECT_TRUE(other.hasFocus()) << "nothing asked for the keyboard yet";

    field.selectAll();
    field.setFocusTrigger(1);
    EXPECT_TRUE(other.hasFocus()) << "not within the same turn";
    QApplication::processEvents();
    EXPECT_TRUE(field.hasFocus());
    EXPECT_FALSE(field.hasSelectedText());
    EXPECT_EQ(field.cursorPosition(), 12);

    field.setCursorPosition(2);
    other.setFocus();
    field.setFocusTrigger(1);
    QApplication::processEvents();
    EXPECT_TRUE(other.hasFocus());
    EXPECT_EQ(field.cursorPosition(), 2);
}

} // namespace torvo
