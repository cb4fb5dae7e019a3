#include "windows/OperationLogView.h"

#include "tests/support/Bar.h"
#include "tests/support/qt/Controls.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "windows/OperationRow.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>

namespace torvo::testing {

namespace {

class OperationLogViewTest : public ::testing::Test {
  protected:
    /// Runs a command that makes one file.
    void make(const std::string& name) {
        bar.now += std::chrono::minutes(1);
        bar.files.file("a.txt", "text");
        bar.select({"a.txt"});
        ASSERT_TRUE(bar.begin("make " + name, "cp a.txt " + name, "Made " + name));
        ASSERT_TRUE(bar.settlesAs("Made " + name)) << bar.state().status;
    }
    void show() {
        view.show();
        bar.dispatcher->runPending();
    }
    void clickUndo(const char* about) {
        click(view, "Undo", about);
        bar.dispatcher->runPending();
    }

    OffscreenApplication application;
    Bar bar;
    OperationLogView view{*bar.service};
};

} // namespace

TEST_F(OperationLogViewTest, FilesThatChangedOfferNeitherUndoNorUndone) {
    show();
    EXPECT_FALSE(isEnabled(view, "Clear")) << "there is nothing yet";
    make("one.txt");
    EXPECT_TRUE(isEnabled(view, "Clear"));
    EXPECT_TRUE(offers(view, "Undo"));
    std::filesystem::remove((bar / "one.txt").path());
    QEvent activation(QEvent::WindowActivate);
    QApplication::sendEvent(&view, &activation);
    bar.dispatcher->runPending();
    EXPECT_FALSE(offers(view, "Undo") || shows(view, "Undone"));
    EXPECT_TRUE(offers(view, "Re-run"));
}

TEST_F(OperationLogViewTest, SaysThatAnUndoTakesItsTime) {
    make("one.txt");
    show();
    bar.diskQueue.isHeld = true;
    clickUndo("Made one.txt");
    bar.dispatcher->advance(std::chrono::seconds(1));
    EXPECT_TRUE(shows(view, "Undoing…"));
    EXPECT_FALSE(offers(view, "Undo"));
    bar.diskQueue.run();
    bar.dispatcher->runPending();
    EXPECT_TRUE(shows(view, "Undone"));
    EXPECT_FALSE(shows(view, "Undoing…") || offers(view, "Undo"));
    EXPECT_TRUE(offers(view, "Re-run"));
}

TEST_F(OperationLogViewTest, RowsStayInPlaceWhileTheListGrows) {
    make("one.txt");
    show();
    const auto* row = control<QAbstractButton>(view, "Re-run");
    make("two.txt");
    EXPECT_EQ(control<QAbstractButton>(view, "Re-run", "Made one.txt"), row);
    view.hide();
    make("three.txt");
    show();
    EXPECT_EQ(control<QAbstractButton>(view, "Re-run", "Made one.txt"), row);
    std::string order;
    for (const auto* button : tabStops(view)) {
        if (nameOf(*button) == "Re-run")
            order += button->accessibleDescription().section(',', 0, 0).toStdString() + "|";
    }
    EXPECT_EQ(order, "Made three.txt|Made two.txt|Made one.txt|") << "Tab goes from the top";
}

TEST(OperationRowTest, CaptionNamesTheTimeOfDayAlone) {
    struct Case {
        double date;
        QLocale locale;
        int offset;
        const char* caption;
    };
    Operation operation;
    operation.outputs = {FileURL("/a")};
    for (const auto& [date, locale, offset, caption] :
         {Case{0, QLocale("en_GB"), 0, "Created 1 file · 00:00"},
          Case{0, QLocale("en_GB"), 5400, "Created 1 file · 01:30"},
          Case{-60, QLocale("de_DE"), 0, "Created 1 file · 23:59"},
          Case{54'000.9, QLocale("en_US"), 0, "Created 1 file · 3:00 PM"},
          Case{54'000, QLocale::c(), 0, "Created 1 file · 15:00"}, Case{1e300, QLocale::c(), 0, "Created 1 file · "},
          Case{std::numeric_limits<double>::quiet_NaN(), QLocale::c(), 0, "Created 1 file · "}}) {
        operation.date = date;
        auto text = operationCaption(operation, locale, QTimeZone(offset));
        text.replace(QChar(0x202F), ' ');
        EXPECT_EQ(text.toStdString(), caption);
    }
}

TEST(OperationRowTest, TitleOfAnotherProgramIsShownAsItIsAndFits) {
    const OffscreenApplication application;
    Operation operation;
    operation.title = "<b>bold</b>\n\x1B[31m" + std::string(100'000, 'w');
    OperationRow row(operation, {});
    EXPECT_LT(row.minimumSizeHint().width(), 400);
    row.resize(500, row.heightForWidth(500));
    EXPECT_LT(row.height(), 120) << "three lines at most";
    const auto* title = row.findChildren<QLabel*>().front();
    EXPECT_TRUE(title->text().startsWith("<b>bold</b>\uFFFD\uFFFD[31mw"));
    EXPECT_EQ(title->textFormat(), Qt::PlainText);
}

} // namespace torvo::testing
