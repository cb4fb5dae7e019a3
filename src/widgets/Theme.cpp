#include "widgets/Theme.h"

#include <QFontDatabase>

namespace torvo {

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QColor toneColor(Tone tone, const QPalette& palette) {
    const bool dark = isDark(palette);
    switch (tone) {
    case Tone::primary:
        return palette.color(QPalette::WindowText);
    case Tone::secondary:
        return dark ? QColor(0xBC, 0xBC, 0xC2) : QColor(0x4A, 0x4A, 0x52);
    case Tone::tertiary:
        return dark ? QColor(0xA6, 0xA6, 0xAE) : QColor(0x5C, 0x5C, 0x64);
    case Tone::accent:
        return dark ? QColor(0x5A, 0xA6, 0xFF) : QColor(0x00, 0x5F, 0xCC);
    case Tone::success:
        return dark ? QColor(0x4C, 0xCB, 0x6B) : QColor(0x16, 0x73, 0x2F);
    case Tone::warning:
        return dark ? QColor(0xFF, 0xA8, 0x3D) : QColor(0xA3, 0x4B, 0x00);
    case Tone::failure:
        return dark ? QColor(0xFF, 0x7B, 0x72) : QColor(0xC4, 0x1E, 0x1E);
    }
    return palette.color(QPalette::WindowText);
}

QColor faded(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(color.alphaF() * opacity));
    return color;
}

QFont systemFont(int size) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(size);
    return font;
}

QFont monospacedFont(int size) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(size);
    return font;
}

QFont styleFont(TextStyle style) {
    switch (style) {
    case TextStyle::title2:
        return systemFont(17);
    case TextStyle::title3:
        return systemFont(15);
    case TextStyle::headline: {
        QFont font = systemFont(13);
        font.setBold(true);
        return font;
    }
    case TextStyle::subheadline:
        return systemFont(11);
    case TextStyle::body:
        return systemFont(13);
    case TextStyle::caption:
    case TextStyle::caption2:
        return systemFont(10);
    }
    return systemFont(13);
}

} // namespace torvo
