#include "desktop/CommandBarPanel.h"

#include "tests/support/FakeDesktop.h"
#include "tests/support/FakeFinder.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

constexpr auto kCompact = BarForm::compact;
constexpr auto kExpanded = BarForm::expanded;

TEST(PanelPlacement, HangsTheBarUnderTheWindowAndKeepsItOnTheScreen) {
    // A screen with a panel at the top and a dock at the bottom, and one to its right.
    const ScreenLayout layout{{{{0, 0, 1600, 900}, {50, 60, 1550, 810}}, {{1600, 0, 1000, 800}, {1600, 0, 1000, 800}}},
                              0};
    struct Row {
        const char* what;
        std::optional<Rect> window;
        BarForm form;
        double height;
        Rect bar;
    };
    const Row rows[] = {
        {"under the window", Rect{100, 360, 800, 400}, kCompact, 90, {100, 262, 300, 90}},
        {"as wide as the window", Rect{100, 360, 800, 400}, kExpanded, 90, {100, 262, 800, 90}},
        {"but not too narrow", Rect{100, 360, 350, 400}, kExpanded, 90, {100, 262, 420, 90}},
        {"at its present height", Rect{100, 360, 800, 400}, kCompact, 40.5, {100, 311.5, 300, 40.5}},
        {"never flat", Rect{100, 360, 800, 400}, kCompact, 1, {100, 262, 300, 90}},
        {"inside at the left", Rect{-300, 360, 800, 400}, kExpanded, 90, {50, 262, 800, 90}},
        {"still seen at the right", Rect{1550, 360, 40, 400}, kCompact, 90, {1480, 262, 300, 90}},
        {"as wide as there is room", Rect{1000, 360, 900, 400}, kExpanded, 90, {1000, 262, 600, 90}},
        {"just above the dock", Rect{100, 158, 800, 400}, kCompact, 90, {100, 60, 300, 90}},
        {"above the window where the dock is", Rect{100, 157, 800, 400}, kCompact, 90, {100, 565, 300, 90}},
        {"never above the screen", Rect{100, 100, 800, 760}, kCompact, 90, {100, 780, 300, 90}},
        {"on the first screen of two", Rect{1500, 360, 800, 400}, kExpanded, 90, {1480, 262, 420, 90}},
        {"on the second screen", Rect{1700, 360, 800, 400}, kExpanded, 90, {1700, 262, 800, 90}},
        {"touching is not being on it", Rect{1600, 5, 400, 300}, kCompact, 90, {1600, 313, 300, 90}},
        {"a window that is nowhere", Rect{9000, 360, 800, 400}, kCompact, 90, {1480, 262, 300, 90}},
        {"no window", std::nullopt, kExpanded, 90, {500, 450, 600, 90}},
        {"no window, compact", std::nullopt, kCompact, 0, {650, 450, 300, 90}},
    };
    for (const auto& [what, window, form, height, bar] : rows)
        EXPECT_EQ(panelPlacement(window, form, height, layout), bar) << what;

    EXPECT_EQ(panelPlacement(std::nullopt, kCompact, 90, {layout.screens, std::nullopt}), std::nullopt);
    EXPECT_EQ(panelPlacement(Rect{9000, 0, 1, 1}, kCompact, 90, {layout.screens, 7}), std::nullopt);
    EXPECT_EQ(panelPlacement(Rect{100, 360, 800, 400}, kCompact, 90, {}), std::nullopt);
    EXPECT_EQ(panelPlacement(Rect{100, 360, 800, 400}, kCompact, 90, {layout.screens, std::nullopt}),
              (Rect{100, 262, 300, 90}))
        << "a window on a screen needs no main screen";
}

TEST(PanelPlacement, GrowsAndShrinksBelowTheTopEdgeWhereverTheScreenHasRoom) {
    const ScreenLayout layout{{{{0, 0, 1600, 900}, {0, 60, 1600, 840}}}, 0};
    EXPECT_EQ(fittedHeight(212.3, 90), 213);
    EXPECT_EQ(fittedHeight(90, 90), std::nullopt);
    EXPECT_EQ(fittedHeight(89.4, 90), std::nullopt);
    EXPECT_EQ(fittedHeight(90, 89.6), std::nullopt) << "0.4 points are not worth a move";
    EXPECT_EQ(fittedHeight(1, 90), std::nullopt);

    const Rect panel{100, 300, 600, 90};
    EXPECT_EQ(fittedFrame(213, panel, 390, layout), (Rect{100, 177, 600, 213}));
    EXPECT_EQ(fittedFrame(58, panel, 390, layout), (Rect{100, 332, 600, 58}));
    EXPECT_EQ(fittedFrame(400, panel, 390, layout), (Rect{100, 60, 600, 400})) << "its buttons stay on the screen";
    EXPECT_EQ(fittedFrame(90, {100, 60, 600, 400}, 390, layout), panel) << "and it hangs down as before afterwards";
    EXPECT_EQ(fittedFrame(1000, panel, 390, layout), (Rect{100, -100, 600, 1000})) << "the field is seen, at least";
    EXPECT_EQ(fittedFrame(400, panel, 390, {}), (Rect{100, -10, 600, 400}));
}

TEST(CommandBarPanel, HangsFromWhereItWasPlacedUnlessSomebodyMovedIt) {
    testing::FakePanel window;
    testing::FakeScreens screens;
    CommandBarPanel panel(window, screens);
    panel.position(Rect{100, 228, 600, 400}, kExpanded);
    const auto placed = window.frame();
    panel.fit(300);
    EXPECT_EQ(window.frame(), placed) << "nobody sees it yet";
    panel.orderFront();
    panel.fit(300);
    EXPECT_EQ(window.frame(), (Rect{100, 40, 600, 300})) << "as high as its content, above the dock";
    panel.fit(90);
    EXPECT_EQ(window.frame(), placed);
    window.setFrame({300, 500, 600, 90});
    panel.fit(100);
    EXPECT_EQ(window.frame(), (Rect{300, 490, 600, 100})) << "it stays where it was moved to";
}

} // namespace
} // namespace torvo
