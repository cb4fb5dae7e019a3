#include "tests/support/qt/Pictures.h"

#include "tests/support/qt/OffscreenApplication.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <cstdlib>

namespace torvo::testing {

void useFontsOfPictures() {
    ::setenv("FONTCONFIG_FILE", TORVO_PICTURE_FONTS, 1);
}

QPalette paletteFor(Colors colors) {
    const bool dark = colors == Colors::dark;
    QPalette palette(dark ? QColor(0x2B, 0x2B, 0x2E) : QColor(0xF2, 0xF2, 0xF4));
    const QColor ink = dark ? QColor(0xF2, 0xF2, 0xF4) : QColor(0x1C, 0x1C, 0x1E);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, ink);
        palette.setColor(QPalette::Disabled, role, faded(ink, 0.5));
    }
    palette.setColor(QPalette::Base, dark ? QColor(0x1E, 0x1E, 0x20) : QColor(Qt::white));
    return palette;
}

QImage drawn(QWidget& widget, double scale, const QColor& background) {
    QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(background);
    widget.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

QImage BarPainter::draw(const BarPicture& picture, Colors colors, double scale) {
    QApplication::setPalette(paletteFor(colors));
    const auto fit = [&] { m_view.resize(picture.width, static_cast<int>(m_bar.window.frame().height)); };
    fit();
    m_view.present(picture.state);
    m_view.QWidget::show();
    QApplication::processEvents();
    fit();
    QApplication::processEvents();
    QMimeData files;
    files.setUrls({QUrl(QStringLiteral("file:///a"))});
    QDragEnterEvent enter({}, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QDragLeaveEvent leave;
    QApplication::sendEvent(&m_view, picture.isDropTargeted ? static_cast<QEvent*>(&enter) : &leave);
    return drawn(m_view, scale, colors == Colors::dark ? QColor(0x17, 0x1F, 0x2A) : QColor(0xC9, 0xD6, 0xE2));
}

} // namespace torvo::testing
