// Draws the interface in many states: torvo-screenshots FOLDER writes PNG files, in light and in dark colours, at one
// and at two device pixels per pixel.
#include "commandbar/view/CommandBarView.h"
#include "screenshots/BarStates.h"
#include "tests/support/Bar.h"
#include "widgets/Symbol.h"

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QImage>
#include <QMimeData>
#include <QPainter>
#include <QPalette>
#include <QUrl>
#include <cstdio>
#include <cstdlib>

namespace torvo::screenshots {

namespace {

QPalette palette(bool dark) {
    QPalette colors(dark ? QColor(0x2B, 0x2B, 0x2E) : QColor(0xF2, 0xF2, 0xF4));
    const QColor ink = dark ? QColor(0xF2, 0xF2, 0xF4) : QColor(0x1C, 0x1C, 0x1E);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(role, ink);
    colors.setColor(QPalette::Base, dark ? QColor(0x1E, 0x1E, 0x20) : QColor(Qt::white));
    return colors;
}

QImage drawn(QWidget& widget, double scale, const QColor& desktop) {
    QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(desktop);
    widget.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

/// All symbols, large.
bool drawSymbols(const QDir& folder) {
    constexpr int kSide = 64;
    constexpr int kCount = static_cast<int>(Symbol::clockArrow) + 1;
    QImage image(kCount * kSide, kSide + 24, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int number = 0; number < kCount; ++number) {
        const auto symbol = static_cast<Symbol>(number);
        drawSymbol(painter, symbol, QRectF(number * kSide + 8, 8, kSide - 16, kSide - 16), Qt::black);
        drawSymbol(painter, symbol, QRectF(number * kSide + 24, kSide, 16, 16), Qt::black);
    }
    painter.end();
    return image.save(folder.filePath("symbols.png"));
}

bool drawBar(const QDir& folder) {
    testing::Bar bar;
    testing::FakeHotKeys keys;
    HotKeyCoordinator hotKey(keys, bar.defaults);
    bar.window.orderFront();
    CommandBarView view(*bar.service, hotKey, bar.window, Backdrop::translucent);
    bool isWritten = true;
    for (const bool dark : {false, true}) {
        QApplication::setPalette(palette(dark));
        for (const auto& picture : barPictures()) {
            view.resize(picture.width, static_cast<int>(bar.window.frame().height));
            view.present(picture.state);
            view.QWidget::show();
            QApplication::processEvents();
            view.resize(picture.width, static_cast<int>(bar.window.frame().height));
            QApplication::processEvents();
            QMimeData files;
            files.setUrls({QUrl(QStringLiteral("file:///a"))});
            QDragEnterEvent enter({}, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
            QDragLeaveEvent leave;
            QApplication::sendEvent(&view, picture.isDropTargeted ? static_cast<QEvent*>(&enter) : &leave);
            for (const int scale : {1, 2}) {
                const auto name = QStringLiteral("bar-%1-%2@%3x.png")
                                      .arg(QString::fromStdString(picture.name), dark ? "dark" : "light")
                                      .arg(scale);
                const auto desktop = dark ? QColor(0x17, 0x1F, 0x2A) : QColor(0xC9, 0xD6, 0xE2);
                isWritten = drawn(view, scale, desktop).save(folder.filePath(name)) && isWritten;
            }
        }
    }
    return isWritten;
}

} // namespace

} // namespace torvo::screenshots

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: torvo-screenshots FOLDER\n", stderr);
        return 2;
    }
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(count, arguments);
    QApplication::setStyle("Fusion");
    // A caret that blinks would be in some pictures and not in others.
    QApplication::setCursorFlashTime(0);
    const QDir folder(QString::fromLocal8Bit(arguments[1]));
    if (!folder.mkpath(".") || !torvo::screenshots::drawSymbols(folder) || !torvo::screenshots::drawBar(folder)) {
        std::fprintf(stderr, "torvo-screenshots: cannot write to %s\n", arguments[1]);
        return 1;
    }
    return 0;
}
