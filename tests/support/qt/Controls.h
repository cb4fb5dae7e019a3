#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QWidget>
#include <vector>

namespace torvo::testing {

/// Finds the controls of a window as its user does, and works them.

/// Lets Qt show what was added and lay it out.
void settleLayout();

/// What a control is called: its spoken name, else the text that it shows.
[[nodiscard]] QString nameOf(const QWidget& widget);

/// The controls of that kind and name which are not hidden, in the order in which they were made. `about`: with that
/// beginning of the description, where several have the same name.
template <typename Control>
[[nodiscard]] std::vector<Control*> controlsNamed(const QWidget& root, const QString& name, const QString& about = {}) {
    settleLayout();
    std::vector<Control*> found;
    for (auto* control : root.findChildren<Control*>()) {
        if (control->isVisibleTo(&root) && nameOf(*control) == name &&
            control->accessibleDescription().startsWith(about))
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
[[nodiscard]] bool shows(const QWidget& root, const QString& text);
/// Whether there is such a button.
[[nodiscard]] bool offers(const QWidget& root, const QString& name, const QString& about = {});
/// Whether there is exactly one such button or field, and it can be used.
[[nodiscard]] bool isEnabled(const QWidget& root, const QString& name);
[[nodiscard]] bool isChecked(const QWidget& root, const QString& name);

/// Clicks a button or a toggle; one that is disabled does not react.
void click(const QWidget& root, const QString& name, const QString& about = {});
/// Replaces what a field holds, key by key.
void type(const QWidget& root, const QString& field, const QString& text);
/// Presses one key in a control.
void press(QWidget& widget, int key, const QString& text = {});
/// What a field holds.
[[nodiscard]] QString held(const QWidget& root, const QString& field);

/// The controls that the Tab key visits, in that order.
[[nodiscard]] std::vector<QWidget*> tabStops(QWidget& window);

} // namespace torvo::testing
