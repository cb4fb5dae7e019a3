// The smallest panel that Qt Widgets can show: a window with a field to type into.
#include <QApplication>
#include <QLineEdit>

int main(int count, char** values) {
    QApplication application(count, values);
    QLineEdit field;
    field.setWindowTitle("Floor");
    field.resize(800, 90);
    field.show();
    return QApplication::exec();
}
