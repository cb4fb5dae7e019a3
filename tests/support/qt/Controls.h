#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QWidget>
#include <string>
#include <vector>

namespace torvo::testing {

/// Finds the controls of a window as its user does, and works them.

/// What a control is called: its spoken name, else the text that it shows.
[[nodiscard]] inline QString nameOf(const QWidget& widget) {
    if (!widget.accessibleName().isEmpty())
        return widget.accessibleName();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return button->text();
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return label->text();
    return {};
}

/// The controls of that kind and name which are not hidden, in the order in which they were made. Those whose
/// description differs from `about` are left out, when it is given.
template <typename Control>
[[nodiscard]] std::vector<Control*> controlsNamed(const QWidget& root, const QString& name, const QString& about = {}) {
    std::vector<Control*> found;
    for (auto* control : root.findChildren<Control*>()) {
        if (control->isVisibleTo(&root) && nameOf(*control) == name &&
            (about.isEmpty() || control->accessibleDescription() == about))
            found.push_back(control);
    }
    return found;
}

/// The one control of that kind and name; null, and a failure of the test, where there is none or more than one.
template <typename Control>
[[nodiscard]] Control* control(const QWidget& root, const QString& name, const QString& about = {}) {
    const auto found = controlsNamed<Control>(root, name, about);
    EXPECT_EQ(found.size(), 1U) << name.toStdString() << " " << about.toStdString();
    return found.size() == 1 ? found.front() : nullptr;
}

/// Whether the user sees a label with exactly that text.
[[nodiscard]] inline bool shows(const QWidget& root, const QString& text) {
    return !controlsNamed<QLabel>(root, text).empty();
}

[[nodiscard]] inline bool offers(const QWidget& root, const QString& name, const QString& about = {}) {
    return !controlsNamed<QAbstractButton>(root, name, about).empty();
}

/// Clicks a button or a toggle; one that is disabled does not react.
inline void click(const QWidget& root, const QString& name, const QString& about = {}) {
    if (auto* button = control<QAbstractButton>(root, name, about))
        button->click();
}

inline void press(QWidget& widget, int key, const QString& text = {}) {
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, text);
    QApplication::sendEvent(&widget, &down);
}

/// Replaces what a field holds, key by key.
inline void type(const QWidget& root, const QString& field, const QString& text) {
    auto* edit = control<QLineEdit>(root, field);
    if (edit == nullptr)
        return;
    edit->selectAll();
    if (text.isEmpty())
        press(*edit, Qt::Key_Delete);
    for (const auto& character : text)
        press(*edit, 0, character);
}

} // namespace torvo::testing
