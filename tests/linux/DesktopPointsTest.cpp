#include "linux/DesktopPoints.h"

#include <gtest/gtest.h>

#include <vector>

namespace torvo {
namespace {

void expectBothWays(const DesktopPoints& desktop, const Rect& pixels, const Rect& points) {
    EXPECT_EQ(desktop.fromPixels(pixels), points);
    EXPECT_EQ(desktop.toPixels(points), pixels);
}

TEST(DesktopPoints, ArePixelsWithoutAScale) {
    for (const auto& desktop :
         {DesktopPoints(), DesktopPoints(std::vector<DesktopPoints::Area>()), DesktopPoints({{{0, 0, 100, 100}, 1}})})
        expectBothWays(desktop, {-4000, 70, 30, 5000}, {-4000, 70, 30, 5000});
}

TEST(DesktopPoints, ScaleEachMonitorTowardsItsOwnCorner) {
    // The primary one in the middle, a dense one to its left, and one below.
    const DesktopPoints desktop({{{-3840, -100, 3840, 2160}, 2}, {{0, 0, 1920, 1080}, 1}, {{0, 1080, 1500, 900}, 1.5}});
    expectBothWays(desktop, {200, 300, 700, 400}, {200, 300, 700, 400});
    expectBothWays(desktop, {-3640, 300, 700, 400}, {-3740, 100, 350, 200});
    expectBothWays(desktop, {0, 1080, 1500, 900}, {0, 1080, 1000, 600});
    // A window counts where its middle is; what begins on a monitor and hangs over its edge, there.
    EXPECT_EQ(desktop.fromPixels({-200, 0, 300, 100}), (Rect{-2020, -50, 150, 50}));
    EXPECT_EQ(desktop.fromPixels({-100, 0, 300, 100}), (Rect{-100, 0, 300, 100}));
    EXPECT_EQ(desktop.toPixels({-1980, -50, 300, 50}), (Rect{-120, 0, 600, 100}));
    // Off every monitor, the nearest one counts.
    EXPECT_EQ(desktop.fromPixels({-4400, 0, 200, 100}), (Rect{-4120, -50, 100, 50}));
    EXPECT_EQ(desktop.toPixels({1950, 20, 30, 30}), (Rect{1950, 20, 30, 30}));
}

TEST(DesktopPoints, BeginAtAPrimaryMonitorThatIsAPartOfAnArea) {
    // A wide screen that is split into two monitors, the right one of which is the primary one.
    const DesktopPoints desktop({{{-2000, -100, 4000, 2000}, 2}});
    expectBothWays(desktop, {0, 0, 2000, 1900}, {0, 0, 1000, 950});
    expectBothWays(desktop, {-2000, -100, 2000, 2000}, {-1000, -50, 1000, 1000});
}

} // namespace
} // namespace torvo
