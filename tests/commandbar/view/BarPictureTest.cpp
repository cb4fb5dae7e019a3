// The bar as it should look, where the look is the point. TORVO_RENEW_PICTURES=1 writes the pictures anew.
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/Pictures.h"
#include "widgets/Theme.h"

#include <gtest/gtest.h>

#include <QFontInfo>
#include <algorithm>
#include <cstdlib>

namespace torvo::testing {

namespace {

/// Blocks of so many pixels each way are compared by their mean colours: what another version of the font renderer does
/// to the edges of letters evens out in them.
constexpr int kBlock = 4;
/// How far a block's colour may be off, of 255, in any channel.
constexpr int kBlockTolerance = 6;
/// And the mean over all blocks.
constexpr double kMeanTolerance = 0.6;

struct Difference {
    int largest = 0;
    QPoint place;
    double mean = 0;
};

Difference difference(const QImage& one, const QImage& other) {
    const auto blocks = [](const QImage& image) {
        return image.convertToFormat(QImage::Format_RGB32)
            .scaled(image.width() / kBlock, image.height() / kBlock, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    };
    const auto first = blocks(one);
    const auto second = blocks(other);
    Difference result;
    double sum = 0;
    for (int y = 0; y < first.height(); ++y) {
        for (int x = 0; x < first.width(); ++x) {
            const QColor a(first.pixel(x, y));
            const QColor b(second.pixel(x, y));
            const int off =
                std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
            sum += off;
            if (off > result.largest) {
                result.largest = off;
                result.place = {x * kBlock, y * kBlock};
            }
        }
    }
    result.mean = sum / (first.width() * first.height());
    return result;
}

} // namespace

TEST(BarPictureTest, TheMainStatesLookAsTheyShould) {
    const OffscreenApplication application;
    ASSERT_EQ(QFontInfo(systemFont(12)).family(), "DejaVu Sans") << "another font: the pictures mean nothing";
    ASSERT_EQ(QFontInfo(monospacedFont(12)).family(), "DejaVu Sans Mono");
    QApplication::setCursorFlashTime(0);
    const auto pictures = barPictures();
    for (const auto* state : {"compact", "full", "confirm", "destructive", "preview-3", "result-5", "failure-ask"}) {
        const auto picture = std::ranges::find(pictures, state, &BarPicture::name);
        ASSERT_NE(picture, pictures.end()) << state;
        // A view of its own: whether the field shows its caret depends on what was shown before.
        BarPainter painter;
        for (const auto& [colors, colorsName] : {std::pair(Colors::light, "light"), std::pair(Colors::dark, "dark")}) {
            const auto now = painter.draw(*picture, colors, 1);
            const auto name = QStringLiteral("bar-%1-%2.png").arg(state, colorsName);
            const auto file = QStringLiteral(TORVO_PICTURES "/") + name;
            if (std::getenv("TORVO_RENEW_PICTURES") != nullptr) {
                ASSERT_TRUE(now.save(file)) << file.toStdString();
            }
            const QImage expected(file);
            ASSERT_FALSE(expected.isNull()) << file.toStdString() << " is missing";
            const auto off = expected.size() == now.size() ? difference(expected, now) : Difference{255, {}, 255};
            if (off.largest <= kBlockTolerance && off.mean <= kMeanTolerance)
                continue;
            const auto drawn = ::testing::TempDir() + name.toStdString();
            ADD_FAILURE() << name.toStdString() << ": off by " << off.largest << " at " << off.place.x() << ", "
                          << off.place.y() << ", by " << off.mean << " in the mean; see " << drawn;
            EXPECT_TRUE(now.save(QString::fromStdString(drawn)));
        }
    }
}

} // namespace torvo::testing
