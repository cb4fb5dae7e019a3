#include "tests/support/qt/OffscreenApplication.h"
#include "widgets/AdaptiveGrid.h"
#include "widgets/SectionBox.h"
#include "widgets/ShownText.h"
#include "widgets/ToneLabel.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QScrollBar>

namespace torvo {

using testing::OffscreenApplication;

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

TEST(LayoutTest, TonesFollowThePalette) {
    const OffscreenApplication application;
    QWidget window;
    auto* box = new QVBoxLayout(&window);
    auto* label = new CaptionLabel("text", Tone::failure);
    box->addWidget(label);
    const auto color = [&] { return label->palette().color(QPalette::WindowText); };
    const auto light = color();
    EXPECT_EQ(light, toneColor(Tone::failure, window.palette()));
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    window.setPalette(dark);
    EXPECT_NE(color(), light);
    EXPECT_EQ(color(), toneColor(Tone::failure, dark));
    label->setTone(Tone::primary);
    EXPECT_EQ(color(), QColor(Qt::white));
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

TEST(LayoutTest, TextsOfOthersAreMadeHarmless) {
    EXPECT_EQ(shownParagraph("a\nb\x1B\xFF"), QString::fromUtf8("a\uFFFDb\uFFFD\uFFFD"));
    EXPECT_EQ(shownParagraph(std::string(9000, 'x')).size(), 501);
    EXPECT_TRUE(plainToolTip("<b>&").contains("&lt;b&gt;&amp;"));
}

} // namespace torvo
