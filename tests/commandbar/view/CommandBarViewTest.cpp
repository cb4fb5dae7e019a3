#include "commandbar/view/CommandBarView.h"

#include "commandbar/view/BarPresentation.h"
#include "commandbar/view/ChipsRow.h"
#include "commandbar/view/ResultPill.h"
#include "support/FileURLText.h"
#include "support/Text.h"
#include "tests/support/qt/Contrast.h"
#include "tests/support/qt/ShownBar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDragEnterEvent>
#include <QListView>
#include <QMimeData>
#include <QProgressBar>
#include <QTest>
#include <QUrl>
#include <cmath>

namespace torvo {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::focusedState;
using ::testing::IsEmpty;
using testing::pendingCommand;

class CommandBarViewTest : public ::testing::Test {
  protected:
    /// Where the parts that fill the bar are: fields, labels, buttons and areas that scroll.
    [[nodiscard]] std::vector<QRect> partsInSight() {
        std::vector<QRect> places;
        collectParts(shown.view, places);
        return places;
    }

    testing::ShownBar shown;

  private:
    void collectParts(const QWidget& parent, std::vector<QRect>& places) {
        for (const QWidget* child : parent.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            if (!child->isVisible())
                continue;
            const bool isPart = child->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).isEmpty() ||
                                dynamic_cast<const QLineEdit*>(child) != nullptr ||
                                dynamic_cast<const QAbstractScrollArea*>(child) != nullptr;
            if (isPart)
                places.emplace_back(child->mapTo(&shown.view, QPoint()), child->size());
            else
                collectParts(*child, places);
        }
    }
};

TEST_F(CommandBarViewTest, BothBodiesShowTheStatusOrElseTheHint) {
    CommandBarState state;
    state.contextHint = "Pictures · 3 selected";
    shown.present(state);
    EXPECT_FALSE(shown.field().isVisible());
    EXPECT_THAT(shown.labels(), ElementsAre("Pictures · 3 selected", "⌘⇧Space"));
    EXPECT_EQ(shown.bar.window.frame().height, 22 + 24 + 12);
    shown.hotKey.setAction([] {});
    ASSERT_TRUE(shown.hotKey.update({.key = "t", .command = false, .control = true}));
    EXPECT_THAT(shown.labels(), Contains("⌃⇧T"));
    state.isRunning = true;
    shown.present(state);
    EXPECT_EQ(shown.seen<QProgressBar>().size(), 1U);

    state.isKeyWindow = true;
    state.isRunning = false;
    shown.present(state);
    EXPECT_TRUE(shown.field().isVisible());
    EXPECT_THAT(shown.labels(), IsEmpty());
    EXPECT_EQ(shown.status().toPlainText(), "Pictures · 3 selected");
    const auto usual = shown.status().font().family();
    state.status = "Do it\n$ ls\t-l \x1b[2J";
    shown.present(state);
    EXPECT_EQ(shown.status().toPlainText(), "Do it\n$ ls    -l \uFFFD[2J");
    EXPECT_NE(shown.status().font().family(), usual);
    state.status = "Done for $5";
    shown.present(state);
    EXPECT_EQ(shown.status().font().family(), usual);
}

TEST_F(CommandBarViewTest, ThePreviewListsFiftyRowsInLittleRoom) {
    auto state = focusedState("rename", "Rename");
    for (const auto& [rows, listed, more] : {std::tuple(120, 50, "+70 more"), {50, 50, ""}, {2, 2, ""}}) {
        state.pending = pendingCommand(static_cast<std::size_t>(rows));
        shown.present(state);
        const auto lists = shown.seen<QListView>();
        ASSERT_EQ(lists.size(), 1U);
        EXPECT_EQ(lists[0]->model()->rowCount(), listed);
        EXPECT_LE(lists[0]->height(), 140);
        EXPECT_EQ(lists[0]->model()->index(1, 0).data().toString(), "old 1.txt → new 1.txt");
        EXPECT_THAT(shown.buttons(), ElementsAre("Apply", "Cancel"));
        auto labels = shown.labels();
        std::erase(labels, "⏎ Apply · Esc cancel");
        EXPECT_EQ(joined(labels, "|"), more);
    }
    // Other rows of the same number are other rows.
    state.pending->rows[1].to.reset();
    shown.present(state);
    EXPECT_EQ(shown.seen<QListView>()[0]->model()->index(1, 0).data().toString(), "old 1.txt");
    state.pending = pendingCommand(0, true);
    shown.present(state);
    EXPECT_THAT(shown.seen<QListView>(), IsEmpty());
    EXPECT_THAT(shown.buttons(), ElementsAre("Run anyway", "Cancel"));
    EXPECT_THAT(shown.labels(), ElementsAre("Click to apply · Esc to cancel"));
}

TEST_F(CommandBarViewTest, ThreeResultsHaveAPillAndNamesAreShownAsTheyAre) {
    auto state = focusedState("zip", "Done");
    for (const char* name : {"/f/<b>a.png", "/f/b\n\x1b\xFF.png", "/f/c & d.png"})
        state.resultOutputs.emplace_back(name);
    shown.present(state);
    EXPECT_THAT(shown.labels(), ElementsAre("<b>a.png", "b\uFFFD\uFFFD\uFFFD.png", "c & d.png"));
    for (const auto* pill : shown.seen<QLabel>()) {
        EXPECT_EQ(pill->textFormat(), Qt::PlainText);
        EXPECT_EQ(pill->toolTip(), "Drag to move/copy · created by the last command");
    }
    EXPECT_THAT(shown.buttons(), ElementsAre("Undo", "Reveal"));
    state.resultOutputs.emplace_back("/f/e.png");
    shown.present(state);
    EXPECT_THAT(shown.labels(), ::testing::Contains("+1 more"));
    EXPECT_EQ(shown.labels().size(), 4U);

    const FileURL odd("/f/odd \xFF\n%41.png");
    const auto dragged = fileMimeData(odd);
    EXPECT_THAT(filesInUriList(dragged->data("text/uri-list").toStdString()), ElementsAre(odd));
}

TEST_F(CommandBarViewTest, ChipsComeAndGoWithTheSituation) {
    auto state = focusedState();
    state.chips = {{"JPG", "jpg"}, {"R&D", "rd"}, {"Zip", "zip"}};
    state.clipboardAvailable = true;
    shown.present(state);
    EXPECT_THAT(shown.buttons(), ElementsAre("Use clipboard", "JPG", "R&&D", "Zip"));
    // However many there are, and whichever comes: the row scrolls.
    state.chips.assign(12, {"Resize to 1600 px", "resize"});
    state.clipboardAvailable = false;
    shown.present(state);
    state.clipboardAvailable = true;
    shown.present(state);
    for (const auto* chip : shown.seen<QAbstractButton>())
        EXPECT_EQ(chip->width(), chip->sizeHint().width()) << chip->text().toStdString();
    state.chips = {{"Zip", "zip"}};
    state.clipboardAvailable = false;
    shown.present(state);
    EXPECT_THAT(shown.buttons(), ElementsAre("Zip"));
    state.text = "z";
    shown.present(state);
    EXPECT_THAT(shown.buttons(), IsEmpty());
}

TEST_F(CommandBarViewTest, NothingIsCutOffOrOverlapsHoweverLongTheTextsAre) {
    const std::string word(400, 'w');
    std::vector<CommandBarState> states(6, focusedState(word, word + " " + word));
    states[0].resultOutputs = {FileURL("/" + word), FileURL("/صورة العطلة " + word), FileURL("/c"), FileURL("/d")};
    states[1].pending = pendingCommand(120, true);
    states[1].pending->rows[0] = {"/" + word, "/" + word};
    states[2].canAskAIToFix = true;
    states[3].text.clear();
    states[3].chips.assign(8, {word, "x"});
    states[4].status = "$ " + std::string(5000, 'x');
    states[4].pending = pendingCommand(0);
    states[5].isKeyWindow = false;
    for (const double width : {300.0, 420.0, 600.0}) {
        shown.bar.window.setFrame({0, 0, width, 90});
        for (std::size_t i = 0; i < states.size(); ++i) {
            shown.present(states[i]);
            const auto where = [&] { return "state " + std::to_string(i) + " at " + std::to_string(width); };
            EXPECT_LE(shown.view.height(), 460) << where();
            EXPECT_EQ(shown.view.height(), shown.view.contentHeight()) << where();
            const auto parts = partsInSight();
            for (std::size_t one = 0; one < parts.size(); ++one) {
                if (width >= 420) {
                    EXPECT_TRUE(shown.view.rect().adjusted(20, 18, -20, -18).contains(parts[one])) << where() << one;
                }
                for (std::size_t other = 0; other < one; ++other)
                    EXPECT_FALSE(parts[one].intersects(parts[other])) << where() << one << other;
            }
        }
    }
}

TEST_F(CommandBarViewTest, ThePanelFollowsTheContentWithItsTopEdgeWhereItIs) {
    shown.bar.window.setFrame({100, 500, 600, 90});
    shown.present(focusedState("zip", "one line"));
    const auto frame = shown.bar.window.frame();
    EXPECT_EQ(frame.top(), 590);
    EXPECT_EQ(frame.height, shown.view.contentHeight());
    shown.present(focusedState("zip", "one\ntwo\nthree"));
    EXPECT_EQ(shown.bar.window.frame().top(), 590);
    EXPECT_GT(shown.bar.window.frame().height, frame.height + 20);
    // Narrower, the text needs more lines.
    shown.present(focusedState("zip", std::string(100, 'w')));
    const auto wide = shown.bar.window.frame().height;
    shown.bar.window.setFrame({100, 500, 420, wide});
    shown.follow();
    EXPECT_GT(shown.bar.window.frame().height, wide);

    shown.bar.window.orderOut();
    const auto hidden = shown.bar.window.frame();
    shown.present(focusedState("zip", "one line"));
    EXPECT_EQ(shown.bar.window.frame(), hidden);
}

TEST_F(CommandBarViewTest, FilesDroppedOnTheBarReachTheController) {
    for (const auto* part : shown.view.findChildren<QWidget*>())
        EXPECT_FALSE(part->acceptDrops()) << "the bar takes all drops: " << part->metaObject()->className();
    const auto first = shown.bar.files.file("b.png");
    const auto second = shown.bar.files.file("a \xFF.png");
    QMimeData data;
    data.setData("text/uri-list", "file://" + QByteArray::fromStdString((shown.bar / "b.png").path()) +
                                      "\r\nhttps://example.org/c.png\r\nfile://" +
                                      QByteArray::fromStdString(shown.bar.files.path()) + "/a%20%FF.png\r\n");
    const auto enter = [&](const QMimeData& mime) {
        QDragEnterEvent event({50, 20}, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        QApplication::sendEvent(&shown.view, &event);
        return event.isAccepted();
    };
    const auto drop = [&](const QMimeData& mime) {
        QDropEvent event({50, 20}, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, Qt::ShiftModifier);
        EXPECT_EQ(event.dropAction(), Qt::MoveAction);
        QApplication::sendEvent(&shown.view, &event);
        EXPECT_TRUE(event.isAccepted());
        EXPECT_EQ(event.dropAction(), Qt::CopyAction) << "the files stay where they are";
    };
    QMimeData text;
    text.setText("no file");
    EXPECT_FALSE(enter(text));
    EXPECT_FALSE(shown.view.isDropTargeted());

    EXPECT_TRUE(enter(data));
    EXPECT_TRUE(shown.view.isDropTargeted());
    QDragLeaveEvent leave;
    QApplication::sendEvent(&shown.view, &leave);
    EXPECT_FALSE(shown.view.isDropTargeted());

    EXPECT_TRUE(enter(data));
    drop(data);
    EXPECT_FALSE(shown.view.isDropTargeted());
    EXPECT_THAT(shown.bar.finder.selection(), ElementsAre(first, second));
    EXPECT_THAT(shown.bar.state().contextHint, ::testing::EndsWith("2 dropped"));
    QMimeData links;
    links.setUrls({QUrl("https://example.org/")});
    EXPECT_TRUE(enter(links));
    drop(links);
    EXPECT_THAT(shown.bar.finder.selection(), ElementsAre(first, second));
}

TEST_F(CommandBarViewTest, AClickOnTheDockedBarOpensItAndChipsAndResultsAct) {
    auto& bar = shown.bar;
    const auto file = bar.files.file("a.txt");
    (void)bar.files.file("b.txt");
    bar.select({"a.txt", "b.txt"});
    bar.service->syncAttachment();
    shown.follow();
    EXPECT_FALSE(shown.field().isVisible());
    EXPECT_EQ(bar.window.frame().width, 300);
    const auto top = bar.window.frame().top();
    ASSERT_EQ(shown.seen<QAbstractButton>().size(), 1U);
    shown.seen<QAbstractButton>()[0]->click();
    shown.follow();
    EXPECT_TRUE(bar.window.isKey());
    EXPECT_EQ(bar.window.frame().width, 800);
    EXPECT_EQ(bar.window.frame().top(), top);
    EXPECT_TRUE(shown.field().hasFocus());
    ASSERT_TRUE(shown.click("Zip"));
    ASSERT_TRUE(bar.settlesAs("Zipped 2 items")) << bar.state().status;
    shown.follow();
    const auto outputs = bar.state().resultOutputs;
    ASSERT_TRUE(shown.click("Reveal"));
    EXPECT_THAT(bar.finder.workspace.revealed, ElementsAre(outputs));

    bar.service->cancel();
    bar.pasteboard.files = {file};
    bar.window.resignKey();
    bar.summon();
    shown.follow();
    ASSERT_TRUE(shown.click("Use clipboard"));
    EXPECT_THAT(bar.finder.selection(), ElementsAre(file));
    EXPECT_THAT(shown.status().toPlainText().toStdString(), ::testing::EndsWith("1 dropped"));
}

TEST_F(CommandBarViewTest, AKeyThatIsHeldDownConfirmsNothing) {
    (void)shown.bar.files.file("a.txt");
    shown.bar.select({"a.txt"});
    shown.bar.modelAnswers("ls", "List");
    shown.bar.summon();
    shown.follow();
    shown.type("list them");
    shown.press(Qt::Key_Return);
    ASSERT_TRUE(shown.bar.settles() && shown.bar.state().awaitingConfirm()) << shown.bar.state().status;
    shown.follow();
    for (const auto key : {Qt::Key_Return, Qt::Key_Escape}) {
        QKeyEvent repeated(QEvent::KeyPress, key, Qt::NoModifier, {}, true);
        QApplication::sendEvent(&shown.field(), &repeated);
        EXPECT_TRUE(shown.bar.state().awaitingConfirm());
    }
    shown.press(Qt::Key_Enter, {}, Qt::KeypadModifier);
    EXPECT_TRUE(shown.bar.settlesAs("List")) << shown.bar.state().status;
}

TEST_F(CommandBarViewTest, AChipSubmitsWhatWasPressedOrNothing) {
    std::vector<std::string> submitted;
    ChipsRow row([] {}, [&](std::string input) { submitted.push_back(std::move(input)); });
    const auto offer = [&](const std::vector<const char*>& inputs) {
        std::vector<Suggestion> chips;
        for (const auto* input : inputs)
            chips.push_back({.title = input, .input = input});
        row.present(chips, false);
    };
    offer({"zip", "jpg"});
    row.show();
    const auto buttons = row.findChildren<ChipButton*>();
    auto& zip = *buttons.at(buttons.size() - 2);
    auto& jpg = *buttons.back();
    QTest::mousePress(&jpg, Qt::LeftButton);
    offer({"zip"});
    QTest::mouseRelease(&jpg, Qt::LeftButton);
    // As assistive technology presses: it stays down for a moment.
    offer({"zip", "jpg"});
    jpg.animateClick();
    offer({"zip"});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !jpg.isDown(); }));
    QTest::mousePress(&zip, Qt::LeftButton);
    offer({"move them away"});
    QTest::mouseRelease(&zip, Qt::LeftButton);
    EXPECT_TRUE(submitted.empty());
    QTest::mouseClick(&zip, Qt::LeftButton);
    EXPECT_EQ(submitted, std::vector<std::string>{"move them away"});
}

TEST_F(CommandBarViewTest, WhateverLiesBelowTheBarItsTextsCanBeRead) {
    const auto blend = [](const QColor& over, const QColor& under) {
        const double share = over.alphaF();
        const auto mix = [&](int a, int b) { return static_cast<int>(std::lround(share * a + (1 - share) * b)); };
        return QColor(mix(over.red(), under.red()), mix(over.green(), under.green()), mix(over.blue(), under.blue()));
    };
    for (const QColor background : {0xEFEFEFU, 0xFFFFFFU, 0x323232U, 0x1E1E20U}) {
        const QPalette colors(background);
        const bool dark = background.lightness() < 128;
        EXPECT_EQ(isDark(colors), dark);
        for (const auto desktop : {Qt::black, Qt::white}) {
            const auto bar = blend(barFill(colors, Backdrop::translucent), desktop);
            // The faintest and the strongest ground of a label.
            const auto chip = blend(faded(toneColor(Tone::primary, colors), 0.16), bar);
            const auto pill = blend(faded(toneColor(Tone::success, colors), 0.15), bar);
            const auto readable = [&](Tone tone, const QColor& ground) {
                EXPECT_GE(testing::contrast(toneColor(tone, colors), ground), 4.5)
                    << static_cast<int>(tone) << (dark ? " dark" : " light");
            };
            for (const auto tone :
                 {Tone::primary, Tone::secondary, Tone::tertiary, Tone::success, Tone::warning, Tone::failure}) {
                readable(tone, bar);
                readable(tone, background);
            }
            readable(Tone::accent, background);
            readable(Tone::primary, chip);
            readable(Tone::primary, pill);
        }
    }
}

} // namespace torvo
