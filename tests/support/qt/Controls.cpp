#include "tests/support/qt/Controls.h"

#include <QApplication>
#include <QKeyEvent>

namespace torvo::testing {

void settleLayout() {
    QCoreApplication::processEvents();
}

QString nameOf(const QWidget& widget) {
    if (!widget.accessibleName().isEmpty())
        return widget.accessibleName();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return button->text();
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return label->text();
    return {};
}

bool shows(const QWidget& root, const QString& text) {
    return !controlsNamed<QLabel>(root, text).empty();
}

bool offers(const QWidget& root, const QString& name, const QString& about) {
    return !controlsNamed<QAbstractButton>(root, name, about).empty();
}

bool isEnabled(const QWidget& root, const QString& name) {
    const auto* found = control<QWidget>(root, name);
    return found != nullptr && found->isEnabled();
}

bool isChecked(const QWidget& root, const QString& name) {
    const auto* button = control<QAbstractButton>(root, name);
    return button != nullptr && button->isChecked();
}

void click(const QWidget& root, const QString& name, const QString& about) {
    if (auto* button = control<QAbstractButton>(root, name, about))
        button->click();
}

void press(QWidget& widget, int key, const QString& text) {
    for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, Qt::NoModifier, text);
        QApplication::sendEvent(&widget, &event);
    }
}

void type(const QWidget& root, const QString& field, const QString& text) {
    auto* edit = control<QLineEdit>(root, field);
    if (edit == nullptr)
        return;
    edit->selectAll();
    if (text.isEmpty())
        press(*edit, Qt::Key_Delete);
    for (const auto& character : text)
        press(*edit, 0, character);
}

QString held(const QWidget& root, const QString& field) {
    const auto* edit = control<QLineEdit>(root, field);
    return edit == nullptr ? QString() : edit->text();
}

std::vector<QWidget*> tabStops(QWidget& window) {
    settleLayout();
    std::vector<QWidget*> stops;
    for (auto* widget = window.nextInFocusChain(); widget != &window; widget = widget->nextInFocusChain()) {
        if ((widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus && widget->isVisibleTo(&window))
            stops.push_back(widget);
    }
    return stops;
}

} // namespace torvo::testing
