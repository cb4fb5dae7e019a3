#include "tests/support/qt/OffscreenApplication.h"
#include "widgets/ElidedLabel.h"
#include "widgets/ProgressRing.h"
#include "widgets/ScrollingRow.h"
#include "widgets/ShownText.h"
#include "widgets/SmallButton.h"
#include "widgets/Symbol.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QImage>
#include <QKeyEvent>
#include <QScrollBar>
#include <QWheelEvent>
#include <set>

namespace torvo {

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
        // An icon is drawn at the size that is asked for, not scaled.
        const auto large = symbolIcon(static_cast<Symbol>(number), Qt::red).pixmap(QSize(40, 40), 2.0);
        EXPECT_EQ(large.size(), QSize(80, 80));
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
    EXPECT_EQ(shownLines(""), "");
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
    buttons[19]->clearFocus();
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

} // namespace torvo
