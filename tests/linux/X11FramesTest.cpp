// A real X server with a real window manager: where windows are, and what panels leave of the monitors.
#include "linux/X11Frames.h"

#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace torvo {
namespace {

using testing::XWindow;

class X11FramesTest : public ::testing::Test {
  protected:
    X11Connection& connection() { return desktop.connection(); }
    void activate(const XWindow& window) { desktop.activate(window.id()); }
    /// What the window manager says; the test plays it.
    void setRoot(const std::string& name, const std::vector<std::uint32_t>& values,
                 xcb_atom_t type = XCB_ATOM_CARDINAL) {
        xcb_change_property(connection().get(), XCB_PROP_MODE_REPLACE, connection().root(), atom(name), type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
    }
    xcb_atom_t atom(const std::string& name) { return testing::atomOf(connection(), name); }
    /// What panels leave of the monitors.
    std::vector<Rect> visible() {
        std::vector<Rect> frames;
        for (const auto& screen : X11Screens(connection()).layout().screens)
            frames.push_back(screen.visibleFrame);
        return frames;
    }
    void visibleBecomes(const std::vector<Rect>& frames) {
        EXPECT_TRUE(desktop.eventually([&] { return visible() == frames; })) << ::testing::PrintToString(visible());
    }

    testing::XDesktop desktop;
};

/// A window that reserves an edge; left, right, top, bottom, then begin and end along each of them.
class Reserving : public XWindow {
  public:
    Reserving(X11Connection& connection, const std::vector<std::uint32_t>& partial) : XWindow(connection, "panel", 2) {
        setProperty("_NET_WM_STRUT_PARTIAL", partial, XCB_ATOM_CARDINAL);
    }
};

TEST_F(X11FramesTest, CountFromThePrimaryMonitor) {
    desktop.setMonitors({{640, 100, 640, 700}, {0, 0, 640, 800}});
    const XWindow window(connection(), "Thunar", 1);
    activate(window);
    const auto layout = X11Screens(connection()).layout();
    ASSERT_EQ(layout.screens.size(), 2U);
    EXPECT_EQ(layout.screens[0].frame, (Rect{0, 0, 640, 700})) << "the primary one comes first";
    EXPECT_EQ(layout.screens[1].frame, (Rect{-640, 0, 640, 800}));
    const std::array<std::uint32_t, 2> place{700, 300};
    xcb_configure_window(connection().get(), window.id(), XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place.data());
    xcb_flush(connection().get());
    EXPECT_TRUE(desktop.eventually([&] {
        const auto frame = windowFrame(connection(), window.id());
        return frame && frame->x > 50 && frame->x < 65 && frame->y > 170 && frame->y < 205;
    })) << windowFrame(connection(), window.id())->x;
    EXPECT_EQ(X11Screens(connection()).layout().main, 0U);
    EXPECT_EQ(primaryMonitor(connection()), (Rect{640, 100, 640, 700}));
    EXPECT_EQ(windowFrameOnDesktop(connection(), window.id())->x, windowFrame(connection(), window.id())->x + 640);
}

TEST_F(X11FramesTest, AreOneScreenWhereTheServerKnowsNoMonitors) {
    testing::XDesktop plain("640x480x24", {"-extension", "RANDR"});
    X11Screens screens(plain.connection());
    ASSERT_EQ(screens.layout().screens.size(), 1U);
    EXPECT_EQ(screens.layout().screens[0].frame, (Rect{0, 0, 640, 480}));
    EXPECT_EQ(xcb_connection_has_error(plain.connection().get()), 0);
}

TEST_F(X11FramesTest, LeaveShadowsOut) {
    XWindow window(connection(), "Thunar", 1);
    activate(window);
    EXPECT_TRUE(desktop.eventually([&] {
        const auto frame = windowFrame(connection(), window.id());
        return frame && frame->width > 300 && frame->height > 215;
    })) << "the window manager's title bar belongs to it";
    const auto frame = *windowFrame(connection(), window.id());
    // A window that draws its own shadow says so; the shadow is no part of it.
    window.setProperty("_GTK_FRAME_EXTENTS", {10, 20, 30, 40}, XCB_ATOM_CARDINAL);
    EXPECT_EQ(windowFrame(connection(), window.id()),
              (Rect{frame.x + 10, frame.y + 30, frame.width - 30, frame.height - 70}));
    EXPECT_EQ(windowFrame(connection(), 12345), std::nullopt);
}

TEST_F(X11FramesTest, LoseToPanelsWhatLiesOnTheirOwnMonitor) {
    const Rect low{0, 0, 500, 600};
    const Rect high{500, 0, 780, 800};
    desktop.setMonitors({low, high});
    visibleBecomes({{0, 0, 500, 600}, {500, -200, 780, 800}});
    {
        // Reckoned from the desktop's edge, which is lower than the monitor's.
        const Reserving dock(connection(), {0, 0, 0, 200 + 48, 0, 0, 0, 0, 0, 0, 0, 499});
        visibleBecomes({{0, 48, 500, 552}, {500, -200, 780, 800}});
        const Reserving bar(connection(), {0, 0, 30, 0, 0, 0, 0, 0, 500, 1279, 0, 0});
        visibleBecomes({{0, 48, 500, 552}, {500, -200, 780, 770}});
        // Along the edge between the two, and on the outer one.
        const Reserving inner(connection(), {0, 780 + 60, 0, 0, 0, 0, 0, 599, 0, 0, 0, 0});
        const Reserving outer(connection(), {40, 0, 0, 0, 0, 599, 0, 0, 0, 0, 0, 0});
        visibleBecomes({{40, 48, 400, 552}, {500, -200, 780, 770}});
        // The older property, which reserves the whole edge.
        XWindow old(connection(), "panel", 2);
        old.setProperty("_NET_WM_STRUT", {0, 0, 50, 0}, XCB_ATOM_CARDINAL);
        visibleBecomes({{40, 48, 400, 502}, {500, -200, 780, 750}});
        // One that covers a monitor takes nothing of it.
        old.setProperty("_NET_WM_STRUT", {500, 0, 0, 0}, XCB_ATOM_CARDINAL);
        visibleBecomes({{40, 48, 400, 552}, {500, -200, 780, 770}});
    }
    visibleBecomes({{0, 0, 500, 600}, {500, -200, 780, 800}});
}

TEST_F(X11FramesTest, LoseOnlyWhatIsReservedOnTheCurrentDesktop) {
    const Reserving dock(connection(), {0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 0, 1279});
    visibleBecomes({{0, 48, 1280, 752}});
    const auto moveTo = [&](std::uint32_t number) {
        xcb_ewmh_request_change_wm_desktop(connection().hints(), connection().screenNumber(), dock.id(), number,
                                           XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    };
    moveTo(1);
    visibleBecomes({{0, 0, 1280, 800}});
    moveTo(0xFFFFFFFF);
    visibleBecomes({{0, 48, 1280, 752}});
}

TEST_F(X11FramesTest, BelieveTheWindowManagerWhereNoWindowReservesAnything) {
    setRoot("_NET_WORKAREA", {0, 30, 1280, 770, 10, 50, 1200, 700});
    EXPECT_EQ(visible(), (std::vector<Rect>{{0, 0, 1280, 770}}));
    setRoot("_NET_CURRENT_DESKTOP", {1});
    EXPECT_EQ(visible(), (std::vector<Rect>{{10, 50, 1200, 700}}));
    // One that knows the monitors apart is believed before what windows say.
    desktop.setMonitors({{0, 0, 640, 800}, {640, 0, 640, 800}});
    setRoot("_NET_CURRENT_DESKTOP", {0});
    const Reserving dock(connection(), {0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 0, 1279});
    visibleBecomes({{0, 48, 640, 752}, {640, 48, 640, 752}});
    setRoot("_GTK_WORKAREAS_D0", {640, 20, 640, 700, 0, 40, 640, 760});
    EXPECT_EQ(visible(), (std::vector<Rect>{{0, 48, 640, 752}, {640, 48, 640, 752}})) << "left behind by another one";
    setRoot("_NET_SUPPORTED", {atom("_GTK_WORKAREAS")}, XCB_ATOM_ATOM);
    EXPECT_EQ(visible(), (std::vector<Rect>{{0, 0, 640, 760}, {640, 80, 640, 700}}));
}

TEST_F(X11FramesTest, AreInPointsOfTheirMonitor) {
    desktop.setMonitors({{640, 0, 640, 600}, {0, 0, 640, 800}});
    const Reserving dock(connection(), {0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 0, 639});
    X11Screens screens(connection(), [] { return DesktopPoints({{{0, 0, 640, 600}, 1}, {{-640, 0, 640, 800}, 2}}); });
    EXPECT_TRUE(desktop.eventually([&] {
        const auto layout = screens.layout().screens;
        return layout.size() == 2 && layout[1].visibleFrame == Rect{-640, 224, 320, 376};
    }));
    const auto layout = screens.layout().screens;
    EXPECT_EQ(layout[0].frame, (Rect{0, 0, 640, 600}));
    EXPECT_EQ(layout[0].visibleFrame, layout[0].frame);
    EXPECT_EQ(layout[1].frame, (Rect{-640, 200, 320, 400}));
}

} // namespace
} // namespace torvo
