// A real X server with a real window manager: what is at the front, where windows are, and the shortcut.
#include "linux/FrontApplication.h"
#include "linux/X11Frames.h"
#include "linux/X11HotKeys.h"
#include "linux/filemanager/FileManagerWindow.h"
#include "tests/support/Eventually.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcbext.h>

#include <array>
#include <string_view>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using testing::XWindow;

class X11Test : public ::testing::Test {
  protected:
    X11Connection& connection() { return desktop.connection(); }
    void activate(const XWindow& window) {
        connection().activate(window.id());
        EXPECT_TRUE(desktop.eventually([&] { return connection().activeWindow() == window.id(); }));
    }

    /// What the window manager says: the test plays it where a real one is too quick to be watched.
    void setRoot(xcb_atom_t property, std::vector<std::uint32_t> values, xcb_atom_t type) {
        xcb_change_property(connection().get(), XCB_PROP_MODE_REPLACE, connection().root(), property, type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
        xcb_flush(connection().get());
    }
    void setActive(xcb_window_t window) {
        setRoot(connection().hints()->_NET_ACTIVE_WINDOW, {window}, XCB_ATOM_WINDOW);
        connection().dispatch();
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

TEST_F(X11Test, LooksThroughThePanelToWhatItWasSummonedOver) {
    XWindow other(connection(), "Editor", 1);
    XWindow thunar(connection(), "Thunar", 2);
    XWindow dock(connection(), "dock", 3, "DOCK");
    XWindow panel(connection(), "torvo-bar", ::getpid(), "UTILITY");
    FrontApplication front(connection());
    front.setPanel(panel.id());
    activate(thunar);
    activate(other);
    // The shortcut is pressed over a window that lies below others.
    activate(thunar);
    activate(panel);
    EXPECT_TRUE(desktop.eventually([&] { return connection().stackedWindows().back() == dock.id(); }));
    EXPECT_EQ(front.window(), thunar.id());
    xcb_configure_window(connection().get(), other.id(), XCB_CONFIG_WINDOW_STACK_MODE,
                         std::array<std::uint32_t, 1>{XCB_STACK_MODE_ABOVE}.data());
    xcb_flush(connection().get());
    const auto isAbove = [&](const XWindow& upper, const XWindow& lower) {
        const auto windows = connection().stackedWindows();
        return std::ranges::find(windows, lower.id()) < std::ranges::find(windows, upper.id());
    };
    EXPECT_TRUE(desktop.eventually([&] { return isAbove(other, thunar); }));
    EXPECT_EQ(front.window(), thunar.id()) << "what lies on top now was not active";

    // One that was never told of an active window goes by what the user sees: no dock, nothing hidden, nothing that is
    // on another desktop.
    FrontApplication fresh(connection());
    fresh.setPanel(panel.id());
    EXPECT_EQ(fresh.window(), other.id());
    const auto* hints = connection().hints();
    other.setProperty("_NET_WM_STATE", {hints->_NET_WM_STATE_HIDDEN}, XCB_ATOM_ATOM);
    EXPECT_EQ(fresh.window(), thunar.id());
    thunar.setProperty("_NET_WM_DESKTOP", {3}, XCB_ATOM_CARDINAL);
    EXPECT_EQ(fresh.window(), std::nullopt);
    thunar.setProperty("_NET_WM_DESKTOP", {0xFFFFFFFF}, XCB_ATOM_CARDINAL);
    EXPECT_EQ(fresh.window(), thunar.id());
}

TEST_F(X11Test, BridgesTheMomentInWhichNoWindowIsActive) {
    auto now = std::chrono::steady_clock::now();
    XWindow thunar(connection(), "Thunar", 1);
    FrontApplication front(connection(), [&] { return now; });
    int activations = 0;
    const auto subscription = front.onActivation([&] { ++activations; });
    activate(thunar);
    EXPECT_EQ(front.window(), thunar.id());
    activations = 0;
    setActive(XCB_WINDOW_NONE);
    EXPECT_EQ(front.window(), thunar.id());
    now += 199ms;
    EXPECT_EQ(front.window(), thunar.id());
    now += 1ms;
    EXPECT_EQ(front.window(), std::nullopt);
    EXPECT_EQ(activations, 0);
    setActive(thunar.id());
    EXPECT_EQ(front.window(), thunar.id());
    // The time counts from the last time that there was none.
    now += 10s;
    setActive(XCB_WINDOW_NONE);
    EXPECT_EQ(front.window(), thunar.id());
}

TEST_F(X11Test, LosesNoEventToACallThatWaitsForItsReply) {
    X11HotKeys hotKeys(connection());
    int presses = 0;
    ASSERT_TRUE(hotKeys.installHandler([&] { ++presses; }).has_value());
    ASSERT_TRUE(hotKeys.registerHotKey({kSpaceKeyCode, kCommandModifier}).has_value());
    connection().dispatch();
    EXPECT_FALSE(connection().hasQueuedEvents());
    desktop.input({"key", "super+space"});
    // Every round trip takes in what has come; the descriptor then has nothing to tell.
    EXPECT_TRUE(testing::eventually([&] {
        (void)connection().activeWindow();
        pollfd polled{connection().descriptor(), POLLIN, 0};
        if (connection().hasQueuedEvents() && ::poll(&polled, 1, 0) == 0)
            connection().dispatch();
        return presses == 1;
    }));
    EXPECT_FALSE(connection().hasQueuedEvents());
}

TEST_F(X11Test, CountsFromThePrimaryMonitor) {
    const auto makeMonitor = [&](std::string_view name, bool isPrimary, std::int16_t x, std::int16_t y,
                                 std::uint16_t height) {
        const auto cookie =
            xcb_intern_atom(connection().get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
        const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(connection().get(), cookie, nullptr));
        // By hand: the library's own function sends a wrong length when there are no outputs.
        struct {
            xcb_randr_set_monitor_request_t request{};
            xcb_randr_monitor_info_t monitor{};
        } message;
        message.request.window = connection().root();
        message.monitor = {.name = atom->atom, .primary = isPrimary, .x = x, .y = y, .width = 640, .height = height};
        std::array<iovec, 4> parts{};
        parts[2] = {&message, sizeof message};
        const xcb_protocol_request_t protocol{
            .count = 2, .ext = &xcb_randr_id, .opcode = XCB_RANDR_SET_MONITOR, .isvoid = 1};
        xcb_send_request(connection().get(), 0, &parts[2], &protocol);
    };
    makeMonitor("left", false, 0, 0, 800);
    makeMonitor("right", true, 640, 100, 700);
    XWindow window(connection(), "Thunar", 1);
    activate(window);
    const auto layout = X11Screens(connection()).layout();
    std::vector<Rect> frames;
    for (const auto& screen : layout.screens)
        frames.push_back(screen.frame);
    // The server goes on listing its whole screen.
    EXPECT_THAT(frames, ::testing::UnorderedElementsAre(Rect{0, 0, 640, 700}, Rect{-640, 0, 640, 800},
                                                        Rect{-640, 0, 1280, 800}));
    EXPECT_EQ(frames[0].x, 0) << "the primary one comes first";
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

TEST(X11Screens, AreOneWhereTheServerKnowsNoMonitors) {
    testing::XDesktop desktop("640x480x24", {"-extension", "RANDR"});
    X11Screens screens(desktop.connection());
    ASSERT_EQ(screens.layout().screens.size(), 1U);
    EXPECT_EQ(screens.layout().screens[0].frame, (Rect{0, 0, 640, 480}));
    EXPECT_EQ(xcb_connection_has_error(desktop.connection().get()), 0);
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

TEST_F(X11Test, FollowsTheShortcutsLetterToAnotherKey) {
    X11HotKeys hotKeys(connection());
    int presses = 0;
    ASSERT_TRUE(hotKeys.installHandler([&] { ++presses; }).has_value());
    ASSERT_TRUE(hotKeys.registerHotKey({kLetterKeyCodes[10], kControlModifier}).has_value());
    auto* symbols = xcb_key_symbols_alloc(connection().get());
    const auto keyOf = [&](xcb_keysym_t symbol) {
        return *XcbReply<xcb_keycode_t>(xcb_key_symbols_get_keycode(symbols, symbol));
    };
    // The keys for k and j change places.
    const auto k = keyOf('k');
    const auto j = keyOf('j');
    xcb_key_symbols_free(symbols);
    const std::array<xcb_keysym_t, 2> letters{'k', 'j'};
    xcb_change_keyboard_mapping(connection().get(), 1, j, 1, letters.data());
    xcb_change_keyboard_mapping(connection().get(), 1, k, 1, letters.data() + 1);
    xcb_flush(connection().get());
    // Until the change has come round, the press goes nowhere.
    EXPECT_TRUE(desktop.eventually([&] {
        desktop.input({"key", "ctrl+k"});
        connection().dispatch();
        return presses > 0;
    }));
    const auto other = X11Connection::create();
    X11HotKeys others(*other);
    EXPECT_TRUE(others.registerHotKey({kLetterKeyCodes[9], kControlModifier}).has_value())
        << "the key that was k is free";
}

} // namespace
} // namespace torvo
