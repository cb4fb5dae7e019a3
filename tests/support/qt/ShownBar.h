#pragma once

#include "commandbar/view/CommandBarView.h"
#include "desktop/HotKeyCoordinator.h"
#include "tests/support/Bar.h"
#include "tests/support/qt/OffscreenApplication.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTextEdit>
#include <string>
#include <vector>

namespace torvo::testing {

/// A bar at work with its view in a window, and the hands of somebody who uses it.
class ShownBar {
  public:
    ShownBar() {
        bar.window.orderFront();
        view.QWidget::show();
        view.activateWindow();
        follow();
    }

    /// The view fills the panel, as it does in the panel's window, and what waits for its turn has had it.
    void follow() {
        bar.dispatcher->runPending();
        for (int turn = 0; turn < 3; ++turn) {
            view.resize(static_cast<int>(bar.window.frame().width), static_cast<int>(bar.window.frame().height));
            QApplication::processEvents();
        }
    }
    /// Shows a state that need not come from the controller.
    void present(const CommandBarState& state) {
        view.present(state);
        follow();
    }

    /// Presses a key where the keyboard is.
    void press(Qt::Key key, const QString& text = {}, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        auto* target = QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : &view;
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, text);
            QApplication::sendEvent(target, &event);
        }
        follow();
    }
    void type(const char* text) {
        for (const QChar character : QString::fromUtf8(text))
            press(Qt::Key_unknown, character);
    }

    [[nodiscard]] QLineEdit& field() { return *view.findChild<QLineEdit*>(); }
    [[nodiscard]] QTextEdit& status() { return *view.findChild<QTextEdit*>(); }

    /// What can be seen of one kind, in the order of its making.
    template <typename Widget>
    [[nodiscard]] std::vector<Widget*> seen() {
        std::vector<Widget*> widgets;
        for (auto* widget : view.findChildren<Widget*>()) {
            if (widget->isVisible())
                widgets.push_back(widget);
        }
        return widgets;
    }
    /// The labels of the buttons that can be seen.
    [[nodiscard]] std::vector<std::string> buttons() {
        std::vector<std::string> labels;
        for (const auto* button : seen<QAbstractButton>())
            labels.push_back(button->text().toStdString());
        return labels;
    }
    /// The texts of the labels that can be seen.
    [[nodiscard]] std::vector<std::string> labels() {
        std::vector<std::string> texts;
        for (const auto* label : seen<QLabel>())
            texts.push_back(label->text().toStdString());
        return texts;
    }
    /// Clicks a button that can be seen; whether there is one.
    [[nodiscard]] bool click(const std::string& label) {
        for (auto* button : seen<QAbstractButton>()) {
            if (button->text().toStdString() == label) {
                button->click();
                follow();
                return true;
            }
        }
        return false;
    }

    OffscreenApplication application;
    Bar bar;
    FakeHotKeys keys;
    HotKeyCoordinator hotKey{keys, bar.defaults};
    CommandBarView view{*bar.service, hotKey, bar.panel, Backdrop::translucent};
};

/// A state of the bar with the keyboard.
[[nodiscard]] inline CommandBarState focusedState(std::string text = "", std::string status = "") {
    CommandBarState state;
    state.isKeyWindow = true;
    state.text = std::move(text);
    state.status = std::move(status);
    return state;
}

/// A command that waits for its yes.
[[nodiscard]] inline PendingAction pendingCommand(std::size_t rows, bool isDestructive = false) {
    PendingAction pending{Shell{"echo", "Say it", isDestructive, {}}, {}, {}};
    for (std::size_t i = 0; i < rows; ++i)
        pending.rows.push_back({"/f/old " + std::to_string(i) + ".txt", "/f/new " + std::to_string(i) + ".txt"});
    return pending;
}

} // namespace torvo::testing
