#include "widgets/Theme.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace torvo {

namespace {

/// WCAG 2.1, "relative luminance".
double luminance(const QColor& color) {
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax(luminance(one), luminance(other));
    return (light + 0.05) / (dark + 0.05);
}

QPalette palette(const QColor& background, const QColor& text) {
    QPalette result;
    result.setColor(QPalette::Window, background);
    result.setColor(QPalette::WindowText, text);
    return result;
}

} // namespace

TEST(ThemeTest, EveryToneCanBeReadOnLightAndOnDark) {
    for (const auto& [colors, dark] : {std::pair(palette(QColor(0xEF, 0xEF, 0xEF), Qt::black), false),
                                       std::pair(palette(Qt::white, Qt::black), false),
                                       std::pair(palette(QColor(0x32, 0x32, 0x32), Qt::white), true),
                                       std::pair(palette(QColor(0x1E, 0x1E, 0x20), QColor(0xF0, 0xF0, 0xF0)), true)}) {
        EXPECT_EQ(isDark(colors), dark);
        for (const Tone tone : {Tone::primary, Tone::secondary, Tone::tertiary, Tone::accent, Tone::success,
                                Tone::warning, Tone::failure})
            EXPECT_GE(contrast(toneColor(tone, colors), colors.color(QPalette::Window)), 4.5)
                << static_cast<int>(tone) << (dark ? " dark" : " light");
    }
}

} // namespace torvo
