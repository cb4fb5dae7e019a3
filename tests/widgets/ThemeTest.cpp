#include "widgets/Theme.h"

#include "tests/support/qt/Contrast.h"

#include <gtest/gtest.h>

namespace torvo {

namespace {

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
            EXPECT_GE(testing::contrast(toneColor(tone, colors), colors.color(QPalette::Window)), 4.5)
                << static_cast<int>(tone) << (dark ? " dark" : " light");
    }
}

} // namespace torvo
