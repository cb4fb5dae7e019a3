// The panel among monitors of several scale factors. Qt draws into memory; it counts as on a display.
#include "linux/qt/QtPanel.h"

#include "desktop/CommandBarPanel.h"
#include "desktop/FinderService.h"
#include "linux/X11Frames.h"
#include "linux/qt/QtDesktopPoints.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XDesktop.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QApplication>
#include <array>
#include <cstdlib>
#include <optional>
#include <vector>

namespace torvo {
namespace {

/// The monitors of an X server, and Qt with the same ones, each with a scale factor of its own.
class QtPanelTest : public ::testing::Test {
  protected:
    struct Monitor {
        Rect frame;
        double scale;
    };

    void start(const std::vector<Monitor>& monitors) {
        nlohmann::json screens = nlohmann::json::array();
        std::string scales;
        std::vector<Rect> frames;
        for (const auto& [frame, scale] : monitors) {
            screens.push_back({{"name", "screen" + std::to_string(frames.size())},
                               {"x", static_cast<int>(frame.x)},
                               {"y", static_cast<int>(frame.y)},
                               {"width", static_cast<int>(frame.width)},
                               {"height", static_cast<int>(frame.height)}});
            scales += (frames.empty() ? "" : ";") + std::to_string(scale);
            frames.push_back(frame);
        }
        desktop.setMonitors(frames);
        const auto file = folder.file("screens.json", nlohmann::json{{"screens", screens}}.dump());
        ::setenv("QT_SCREEN_SCALE_FACTORS", scales.c_str(), 1);
        ::setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + file.path()).c_str(), 1);
        application.emplace(count, arguments.data());
        panel.emplace(desktop.connection());
    }
    void TearDown() override {
        ::unsetenv("QT_SCREEN_SCALE_FACTORS");
        ::unsetenv("QT_QPA_PLATFORM");
    }

    /// Where the shown panel is on the whole desktop, in pixels.
    Rect pixels() {
        const auto& window = panel->window();
        const auto screen = window.screen()->geometry().topLeft();
        const double scale = window.screen()->devicePixelRatio();
        const auto corner = screen + (QPointF(window.geometry().topLeft()) - screen) * scale;
        return {corner.x(), corner.y(), window.width() * scale, window.height() * scale};
    }
    /// Docks the panel to a window that is there on the whole desktop, in pixels; where it comes to be, shown before or
    /// after.
    Rect docked(const Rect& window, BarForm form) {
        auto& display = desktop.connection();
        X11Screens screens(display, [&] { return qtDesktopPoints(primaryMonitor(display)); });
        const auto primary = primaryMonitor(display);
        const auto points = qtDesktopPoints(primaryMonitor(display))
                                .fromPixels({window.x - primary.x, window.y - primary.y, window.width, window.height});
        const auto frame = finderWindowFrame({points.x, points.y}, {points.width, points.height},
                                             screens.layout().screens.front().frame.height);
        CommandBarPanel(*panel, screens).position(frame, form);
        QApplication::processEvents();
        const auto told = panel->frame();
        panel->window().show();
        QApplication::processEvents();
        EXPECT_EQ(panel->frame(), told);
        // The place that it tells is the place that it has.
        const auto place = pixels();
        panel->setFrame(told);
        QApplication::processEvents();
        EXPECT_EQ(pixels(), place);
        if (hides)
            panel->orderOut();
        return place;
    }

    testing::TemporaryFolder folder;
    testing::XDesktop desktop{"2000x900x24"};
    int count = 1;
    std::array<char, 6> name{'t', 'o', 'r', 'v', 'o', '\0'};
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::optional<QApplication> application;
    std::optional<QtPanel> panel;
    /// Whether the panel is hidden again each time.
    bool hides = false;
};

TEST_F(QtPanelTest, IsAsLargeAsTheScaleOfTheWindowsMonitorHasIt) {
    start({{{0, 0, 800, 900}, 1}, {{800, 0, 1200, 900}, 2}});
    for (const bool isHidden : {false, true}) {
        hides = isHidden;
        EXPECT_EQ(docked({40, 100, 500, 300}, BarForm::expanded), (Rect{40, 408, 500, 90}));
        EXPECT_EQ(docked({840, 100, 1000, 300}, BarForm::expanded), (Rect{840, 416, 1000, 180}));
    }
}

TEST_F(QtPanelTest, StaysWhereItHangsOverItsMonitorInAFractionalScale) {
    // In points, the right monitor begins just behind the left one: the bar reaches over both.
    start({{{0, 0, 1000, 900}, 1.25}, {{1000, 0, 1000, 900}, 1.25}});
    for (const bool isHidden : {false, true}) {
        hides = isHidden;
        const auto place = docked({900, 100, 190, 300}, BarForm::expanded);
        EXPECT_NEAR(place.x, 850, 1) << "120 points of it are on the window's monitor";
        EXPECT_EQ(place.width, 525);
    }
}

TEST_F(QtPanelTest, CountsAsShownAndAsHavingTheKeyboardBeforeItIsDrawn) {
    start({{{0, 0, 2000, 900}, 1}});
    std::vector<bool> told;
    panel->setKeyChangeAction([&](bool isKey) { told.push_back(isKey); });
    panel->makeKey();
    EXPECT_EQ(told, std::vector<bool>()) << "a hidden panel has no keyboard";

    panel->orderFront();
    panel->makeKey();
    EXPECT_TRUE(panel->isVisible());
    EXPECT_FALSE(panel->window().isVisible());
    EXPECT_EQ(told, std::vector<bool>{true});
    QApplication::processEvents();
    EXPECT_TRUE(panel->window().isVisible());
    EXPECT_EQ(told, std::vector<bool>{true});
    panel->orderOut();
    EXPECT_EQ(told, (std::vector<bool>{true, false}));

    // Called and sent away at once: it never comes up.
    panel->orderFront();
    panel->makeKey();
    panel->orderOut();
    QApplication::processEvents();
    EXPECT_FALSE(panel->isVisible());
    EXPECT_FALSE(panel->window().isVisible());
    EXPECT_EQ(told, (std::vector<bool>{true, false, true, false}));
}

TEST_F(QtPanelTest, LaysItsContentOutBeforeItIsShown) {
    start({{{0, 0, 2000, 900}, 1}});
    auto* content = new QWidget;
    panel->setContent(content);
    panel->setFrame({100, 300, 420, 60});
    EXPECT_EQ(content->size(), QSize(420, 60));
}

TEST_F(QtPanelTest, HasWhatCanWaitDoneOnceItIsDrawn) {
    start({{{0, 0, 2000, 900}, 1}});
    int done = 0;
    const auto wait = [&] { panel->afterDrawing([&] { ++done; }); };
    wait();
    EXPECT_EQ(done, 1) << "a hidden panel is not going to be drawn";

    panel->orderFront();
    wait();
    wait();
    EXPECT_EQ(done, 1);
    EXPECT_TRUE(testing::eventually([&] {
        QApplication::processEvents();
        return done == 3;
    }));
    wait();
    EXPECT_EQ(done, 4) << "it has been drawn";

    panel->orderOut();
    panel->orderFront();
    wait();
    EXPECT_EQ(done, 4);
    panel->orderOut();
    EXPECT_EQ(done, 5) << "now it is not going to be";
}

} // namespace
} // namespace torvo
