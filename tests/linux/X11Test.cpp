// A real X server with a real window manager: what is at the front, where windows are, and the shortcut.
#include "linux/FrontApplication.h"
#include "linux/X11Frames.h"
#include "linux/X11HotKeys.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace torvo {
namespace {

using testing::XWindow;

class X11Test : public ::testing::Test {
  protected:
    X11Connection& connection() { return desktop.connection(); }
    void activate(const XWindow& window) {
        connection().activate(window.id());
        EXPECT_TRUE(desktop.eventually([&] { return connection().activeWindow() == window.id(); }));
    }

    testing::XDesktop desktop;
};

TEST_F(X11Test, TellsWhichApplicationIsAtTheFront) {
    FrontApplication front(connection());
    int activations = 0;
    const auto subscription = front.onActivation([&] { ++activations; });
    XWindow thunar(connection(), "Thunar", 4711);
    EXPECT_TRUE(desktop.eventually([&] { return front.window() == thunar.id(); }));
    EXPECT_EQ(connection().windowClass(thunar.id()), "Thunar");
    EXPECT_EQ(connection().pid(thunar.id()), 4711);
    EXPECT_EQ(front.fileManagerWindow(), thunar.id());

    XWindow editor(connection(), "Editor", 4712);
    activate(editor);
    EXPECT_EQ(front.window(), editor.id());
    EXPECT_EQ(front.fileManagerWindow(), thunar.id()) << "it is the topmost file manager";
    activate(thunar);
    EXPECT_TRUE(desktop.eventually([&] { return activations >= 3; }));

    // The panel has the keyboard: what counts is what it was summoned over.
    XWindow panel(connection(), "torvo-bar", ::getpid());
    activate(panel);
    EXPECT_EQ(front.window(), panel.id());
    front.setPanel(panel.id());
    EXPECT_EQ(front.window(), thunar.id());
    for (const char* name : {"pcmanfm-qt", "dolphin", "org.gnome.Nautilus", "Nemo"})
        EXPECT_TRUE(isFileManager(name));
    EXPECT_FALSE(isFileManager("thunar-settings"));
    EXPECT_EQ(connection().windowClass(connection().root()), "");
}

TEST_F(X11Test, KnowsWhereWindowsAndScreensAre) {
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

    X11Screens screens(connection());
    ASSERT_EQ(screens.layout().screens.size(), 1U);
    EXPECT_EQ(screens.layout().screens[0].frame, (Rect{0, 0, 1280, 800}));
    EXPECT_EQ(screens.layout().screens[0].visibleFrame, (Rect{0, 0, 1280, 800}));
    // A dock of 48 points at the bottom.
    XWindow dock(connection(), "dock", 2);
    dock.setProperty("_NET_WM_STRUT", {0, 0, 0, 48}, XCB_ATOM_CARDINAL);
    dock.setProperty("_NET_WM_STRUT_PARTIAL", {0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 0, 1279}, XCB_ATOM_CARDINAL);
    EXPECT_TRUE(desktop.eventually([&] { return screens.layout().screens[0].visibleFrame == Rect{0, 48, 1280, 752}; }));
}

TEST_F(X11Test, HearsTheShortcutWhateverHasTheKeyboard) {
    X11HotKeys hotKeys(connection());
    int presses = 0;
    ASSERT_TRUE(hotKeys.installHandler([&] { ++presses; }).has_value());
    const HotKeyCode summon{kSpaceKeyCode, kCommandModifier + kShiftModifier};
    const auto grab = hotKeys.registerHotKey(summon);
    ASSERT_TRUE(grab.has_value());
    XWindow editor(connection(), "Editor", 1);
    activate(editor);
    desktop.input({"key", "super+shift+space"});
    EXPECT_TRUE(desktop.eventually([&] { return presses == 1; }));
    // Num Lock and Caps Lock are no part of it.
    desktop.input({"key", "Num_Lock", "Caps_Lock"});
    desktop.input({"key", "super+shift+space"});
    EXPECT_TRUE(desktop.eventually([&] { return presses == 2; }));
    desktop.input({"key", "Num_Lock", "Caps_Lock"});

    // Another program has it.
    const auto other = X11Connection::create();
    X11HotKeys others(*other);
    EXPECT_EQ(others.registerHotKey(summon).error(), kHotKeyExists);
    const auto letter = others.registerHotKey({kLetterKeyCodes[10], kControlModifier + kOptionModifier});
    ASSERT_TRUE(letter.has_value());
    EXPECT_EQ(hotKeys.registerHotKey({kLetterKeyCodes[10], kControlModifier + kOptionModifier}).error(), kHotKeyExists);
    hotKeys.unregisterHotKey(*grab);
    EXPECT_TRUE(desktop.eventually([&] { return others.registerHotKey(summon).has_value(); }));
    EXPECT_FALSE(hotKeys.registerHotKey({999, kCommandModifier}).has_value());
}

} // namespace
} // namespace torvo
