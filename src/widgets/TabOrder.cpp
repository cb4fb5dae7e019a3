#include "widgets/TabOrder.h"

#include <QApplication>
#include <QLayout>
#include <vector>

namespace torvo {

namespace {

void collect(QWidget& widget, std::vector<QWidget*>& controls);

void collect(QLayout& layout, std::vector<QWidget*>& controls) {
    for (int index = 0; index < layout.count(); ++index) {
        auto* item = layout.itemAt(index);
        if (auto* widget = item->widget())
            collect(*widget, controls);
        else if (auto* inner = item->layout())
            collect(*inner, controls);
    }
}

void collect(QWidget& widget, std::vector<QWidget*>& controls) {
    if ((widget.focusPolicy() & Qt::TabFocus) == Qt::TabFocus) {
        controls.push_back(&widget);
        return;
    }
    if (const auto* scroller = qobject_cast<QScrollArea*>(&widget);
        scroller != nullptr && scroller->widget() != nullptr)
        collect(*scroller->widget(), controls);
    else if (auto* layout = widget.layout())
        collect(*layout, controls);
}

} // namespace

void orderTabs(QWidget& root) {
    std::vector<QWidget*> controls;
    collect(root, controls);
    for (std::size_t index = 1; index < controls.size(); ++index)
        QWidget::setTabOrder(controls[index - 1], controls[index]);
}

void followKeyboard(QScrollArea& area) {
    QObject::connect(qApp, &QApplication::focusChanged, &area, [&area](const QWidget* before, QWidget* now) {
        // Without one before, the window got the keyboard back, and with it what had it in the window.
        if (before != nullptr && now != nullptr && area.widget()->isAncestorOf(now) &&
            QApplication::mouseButtons() == Qt::NoButton)
            area.ensureWidgetVisible(now);
    });
}

} // namespace torvo
