#include "widgets/AccessibleWindow.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace torvo {

namespace {

QAccessibleInterface* accessibleWindow(const QString& className, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    const bool isPlainWindow = className == QLatin1String("QWidget") && widget != nullptr && widget->isWindow();
    return isPlainWindow ? new QAccessibleWidget(widget, QAccessible::Window) : nullptr;
}

} // namespace

void makeWindowsAccessible() {
    QAccessible::installFactory(accessibleWindow);
}

} // namespace torvo
