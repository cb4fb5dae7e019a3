#include "widgets/WindowStyle.h"

#include "tests/support/qt/Contrast.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/Pictures.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <algorithm>

namespace torvo {

class WindowStyleTest : public ::testing::Test {
  protected:
    testing::OffscreenApplication application;
};

/// How far the colour that stands out most in a column of pixels does so.
double strongest(const QImage& image, int column, const QColor& background) {
    double most = 1;
    for (int y = 0; y < image.height(); ++y)
        most = std::max(most, testing::contrast(image.pixelColor(column, y), background));
    return most;
}

TEST_F(WindowStyleTest, ShowsWhereToTypeAndWhatToCheck) {
    for (const auto colors : {testing::Colors::light, testing::Colors::dark}) {
        QApplication::setPalette(testing::paletteFor(colors));
        const auto background = QApplication::palette().color(QPalette::Window);
        QCheckBox box;
        QLineEdit field;
        for (QWidget* widget : {static_cast<QWidget*>(&box), static_cast<QWidget*>(&field)}) {
            widget->resize(widget->sizeHint());
            EXPECT_GE(strongest(testing::drawn(*widget, 1, background), 0, background), 3)
                << widget->metaObject()->className();
        }
        box.setChecked(true);
        EXPECT_GE(strongest(testing::drawn(box, 1, background), 3, background), 3) << "filled when it is checked";
    }
}

TEST_F(WindowStyleTest, AScrollBarIsItsHandleAndPagesBesideIt) {
    QScrollBar bar(Qt::Vertical);
    bar.setRange(0, 900);
    bar.setPageStep(100);
    bar.resize(bar.sizeHint().width(), 200);
    bar.show();
    EXPECT_LE(bar.width(), 8);
    const QPoint top(bar.width() / 2, 4);
    const QPoint bottom(bar.width() / 2, bar.height() - 4);
    QTest::mouseClick(&bar, Qt::LeftButton, {}, bottom);
    EXPECT_EQ(bar.value(), 100);
    QTest::mouseClick(&bar, Qt::LeftButton, {}, top);
    EXPECT_EQ(bar.value(), 0);
    // The handle goes with the mouse, to the very end.
    QTest::mousePress(&bar, Qt::LeftButton, {}, top);
    QTest::mouseMove(&bar, {top.x(), bar.height()});
    QTest::mouseRelease(&bar, Qt::LeftButton, {}, {top.x(), bar.height()});
    EXPECT_EQ(bar.value(), 900);
    // A short handle can still be grabbed, and nothing to scroll is no harm.
    bar.setRange(0, 1'000'000);
    bar.setValue(1'000'000);
    QTest::mousePress(&bar, Qt::LeftButton, {}, bottom - QPoint(0, 12));
    EXPECT_TRUE(bar.isSliderDown());
    QTest::mouseRelease(&bar, Qt::LeftButton, {}, bottom - QPoint(0, 12));
    bar.setRange(0, 0);
    (void)testing::drawn(bar, 1, Qt::white);
}

} // namespace torvo
