#include "tests/support/qt/Contrast.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/Pictures.h"
#include "widgets/AdaptiveGrid.h"
#include "widgets/ElidedLabel.h"
#include "widgets/ProgressRing.h"
#include "widgets/ScrollingRow.h"
#include "widgets/SectionBox.h"
#include "widgets/ShownText.h"
#include "widgets/SmallButton.h"
#include "widgets/Symbol.h"
#include "widgets/ToneLabel.h"
#include "widgets/WindowStyle.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QCheckBox>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <algorithm>
#include <set>

namespace torvo {

using testing::OffscreenApplication;

class SmallWidgetsTest : public ::testing::Test {
  protected:
    testing::OffscreenApplication application;
};

TEST_F(SmallWidgetsTest, EverySymbolIsADrawingOfItsOwnInsideItsSquare) {
    std::set<QByteArray> drawings;
    for (int number = 0; number <= static_cast<int>(Symbol::clockArrow); ++number) {
        const int margin = 4;
        for (const int side : {16, 64}) {
            QImage image(side + 2 * margin, side + 2 * margin, QImage::Format_ARGB32);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            drawSymbol(painter, static_cast<Symbol>(number), QRectF(margin, margin, side, side), Qt::red);
            painter.end();
            int inked = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qAlpha(image.pixel(x, y)) == 0)
                        continue;
                    ++inked;
                    EXPECT_TRUE(QRect(margin, margin, side, side).contains(x, y)) << number << " at " << x << ' ' << y;
                }
            }
            EXPECT_GT(inked, side * side / 12) << number;
            if (side == 64)
                drawings.insert(QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes()));
        }
    }
    EXPECT_EQ(drawings.size(), static_cast<std::size_t>(Symbol::clockArrow) + 1);
}

TEST_F(SmallWidgetsTest, ALabelThatIsCutKeepsItsWholeNameForAssistiveTechnology) {
    ElidedLabel label(Tone::primary, 12);
    label.setText("IMG_<b>2041</b> and a lot more.jpeg");
    const auto whole = label.text();
    label.resize(label.sizeHint());
    EXPECT_EQ(label.visibleText(), whole);
    label.resize(100, 20);
    EXPECT_TRUE(label.visibleText().startsWith("IMG_<b"));
    EXPECT_TRUE(label.visibleText().contains(u'…'));
    EXPECT_TRUE(label.visibleText().endsWith("g"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name), whole);
    EXPECT_LT(label.minimumSizeHint().width(), 60);
}

TEST_F(SmallWidgetsTest, TextsAreShownHarmlessly) {
    EXPECT_EQ(shownLine("a\tb\nc\x1b[0m\xFF\u202Eх"), "a\uFFFDb\uFFFDc\uFFFD[0m\uFFFD\uFFFDх");
    EXPECT_EQ(shownLines("one\n\ttwo\r\n"), "one\n    two\uFFFD\n");
    EXPECT_EQ(shownParagraph("a\nb\x1B\xFF"), QString::fromUtf8("a\uFFFDb\uFFFD\uFFFD"));
    EXPECT_EQ(shownParagraph(std::string(9000, 'x')).size(), 501);
    EXPECT_FALSE(plainToolTip("<img src=x>").contains("<img"));
}

TEST_F(SmallWidgetsTest, ARingTurnsOnlyWhileItIsSeenAndTheEndIsUnknown) {
    ProgressRing ring;
    EXPECT_FALSE(ring.isTurning());
    ring.show();
    EXPECT_TRUE(ring.isTurning());
    ring.setShare(0.5);
    EXPECT_FALSE(ring.isTurning());
    EXPECT_EQ(ring.value() * 2, ring.maximum());
    ring.setShare(std::nullopt);
    EXPECT_TRUE(ring.isTurning());
    ring.hide();
    EXPECT_FALSE(ring.isTurning());
}

TEST_F(SmallWidgetsTest, ARowScrollsByTheWheelAndToTheWidgetWithTheKeyboard) {
    ScrollingRow row(6, 1);
    std::vector<SmallButton*> buttons;
    for (int i = 0; i < 20; ++i) {
        buttons.push_back(new SmallButton("Button"));
        row.addWidget(buttons.back());
    }
    row.resize(200, row.sizeHint().height());
    row.show();
    row.activateWindow();
    QApplication::processEvents();
    EXPECT_EQ(row.widget()->height(), buttons[0]->height() + 1);
    const auto* bar = row.horizontalScrollBar();
    ASSERT_GT(bar->maximum(), 0);
    QWheelEvent wheel({10, 10}, {10, 10}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(row.viewport(), &wheel);
    EXPECT_GT(bar->value(), 0);
    row.scrollToStart();
    EXPECT_EQ(bar->value(), 0);
    buttons[0]->setFocus();
    for (int i = 0; i < 19; ++i) {
        QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
        QApplication::sendEvent(QApplication::focusWidget(), &tab);
    }
    const auto isSeen = [&](const QWidget* button) {
        return row.rect().contains(QRect(button->mapTo(&row, QPoint()), button->size()));
    };
    EXPECT_TRUE(buttons[19]->hasFocus());
    EXPECT_TRUE(isSeen(buttons[19]));
    // From elsewhere, the keyboard may come to any of them.
    buttons[0]->setFocus();
    buttons[19]->hide();
    row.scrollToStart();
    buttons[12]->setFocus(Qt::BacktabFocusReason);
    EXPECT_TRUE(isSeen(buttons[12]));
}

TEST_F(SmallWidgetsTest, AButtonIsPressedByReturnAndSpaceOnceEach) {
    SmallButton button("A & B");
    int presses = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++presses; });
    for (const auto& [key, isRepeated] :
         {std::pair(Qt::Key_Return, false), {Qt::Key_Return, true}, {Qt::Key_Enter, false}, {Qt::Key_Space, false}}) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, {}, isRepeated);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, {}, isRepeated);
        QApplication::sendEvent(&button, &press);
        QApplication::sendEvent(&button, &release);
    }
    EXPECT_EQ(presses, 3);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&button)->text(QAccessible::Name), "A & B");
    EXPECT_TRUE(button.shortcut().isEmpty());
}

TEST(LayoutTest, GridHasAsManyColumnsAsFit) {
    struct Case {
        int width;
        int minimum;
        int count;
    };
    for (const auto& [width, minimum, count] :
         {Case{508, 150, 3}, Case{466, 150, 3}, Case{465, 150, 2}, Case{150, 150, 1}, Case{20, 150, 1}, Case{0, 0, 1}})
        EXPECT_EQ(columnsThatFit(width, {minimum, 8}), count) << width;

    const OffscreenApplication application;
    QWidget box;
    auto* grid = new AdaptiveGrid({});
    grid->setContentsMargins({});
    box.setLayout(grid);
    std::vector<QPushButton*> cells;
    for (int index = 0; index < 4; ++index)
        grid->addWidget(cells.emplace_back(new QPushButton("x")));
    box.resize(508, 200);
    box.show();
    EXPECT_EQ(cells[2]->geometry().right(), 507);
    EXPECT_EQ(cells[1]->width(), 164);
    EXPECT_EQ(cells[3]->y(), cells[0]->height() + 8);
    EXPECT_EQ(grid->heightForWidth(508), 2 * cells[0]->height() + 8);
    box.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(grid->heightForWidth(100), 4 * cells[0]->height() + 24);
    delete grid->takeAt(0);
    EXPECT_EQ(grid->count(), 3);
}

TEST(LayoutTest, TextWrapsInsideWordsAndIsTruncatedWhereLinesAreLimited) {
    const OffscreenApplication application;
    const QString word(400, 'w');
    ToneLabel label(word);
    EXPECT_LT(label.minimumSizeHint().width(), 60);
    const int line = ToneLabel("w").heightForWidth(200);
    EXPECT_GT(label.heightForWidth(200), 10 * line);
    EXPECT_GT(label.heightForWidth(100), label.heightForWidth(200));
    label.setMaximumLines(2);
    EXPECT_NEAR(label.heightForWidth(200), 2 * line, 1);
    EXPECT_NEAR(ToneLabel("a\nb").heightForWidth(200), 2 * line, 1);
}

TEST(LayoutTest, ScrollBarTakesNothingFromTheItems) {
    const OffscreenApplication application;
    ScrollColumn scroller(4, {10, 10, 20, 10});
    auto* item = new QWidget;
    scroller.column().addWidget(item);
    scroller.resize(300, 200);
    scroller.show();
    const int width = item->width();
    EXPECT_EQ(width, 270);
    item->setFixedHeight(1000);
    QCoreApplication::processEvents();
    ASSERT_TRUE(scroller.verticalScrollBar()->isVisible());
    EXPECT_EQ(item->width(), width);
    // By no more than what makes it go.
    scroller.resize(300, 200 + scroller.verticalScrollBar()->maximum());
    QCoreApplication::processEvents();
    ASSERT_FALSE(scroller.verticalScrollBar()->isVisible());
    EXPECT_EQ(item->width(), width) << "when the scroll bar went";
}

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
