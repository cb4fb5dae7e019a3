// Draws the interface in many states: torvo-screenshots FOLDER writes PNG files, in light and in dark colours, at one
// and at two device pixels per pixel.
#include "screenshots/WindowPictures.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/Pictures.h"
#include "widgets/Symbol.h"
#include "widgets/WindowStyle.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPainter>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace torvo::screenshots {

namespace {

using testing::Colors;

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

constexpr std::pair<Colors, const char*> kColors[] = {{Colors::light, "light"}, {Colors::dark, "dark"}};

bool drawBar(const QDir& folder) {
    testing::BarPainter painter;
    bool isWritten = true;
    for (const auto& [colors, name] : kColors) {
        for (const auto& picture : testing::barPictures()) {
            for (const int scale : {1, 2})
                isWritten = painter.draw(picture, colors, scale)
                                .save(folder.filePath(QStringLiteral("bar-%1-%2@%3x.png")
                                                          .arg(QString::fromStdString(picture.name), name)
                                                          .arg(scale))) &&
                            isWritten;
        }
    }
    return isWritten;
}

bool drawWindows(const QDir& folder) {
    bool isWritten = true;
    for (const auto& [colors, colorsName] : kColors) {
        QApplication::setPalette(testing::paletteFor(colors));
        showWindows([&](const std::string& name, QWidget& window) {
            for (const int scale : {1, 2})
                isWritten = testing::drawn(window, scale, window.palette().color(QPalette::Window))
                                .save(folder.filePath(QStringLiteral("%1-%2@%3x.png")
                                                          .arg(QString::fromStdString(name), colorsName)
                                                          .arg(scale))) &&
                            isWritten;
        });
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
    torvo::testing::useFontsOfPictures();
    const QApplication application(count, arguments);
    QApplication::setStyle(new torvo::WindowStyle);
    // A caret that blinks would be in some pictures and not in others.
    QApplication::setCursorFlashTime(0);
    const QDir folder(QString::fromLocal8Bit(arguments[1]));
    using namespace torvo::screenshots;
    if (!folder.mkpath(".") || !drawSymbols(folder) || !drawBar(folder) || !drawWindows(folder)) {
        std::fprintf(stderr, "torvo-screenshots: cannot write to %s\n", arguments[1]);
        return 1;
    }
    return 0;
}
