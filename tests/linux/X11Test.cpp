// A real X server with a real window manager: what is at the front, where windows are, and the shortcut.
#include "linux/FrontApplication.h"
#include "linux/X11HotKeys.h"
#include "linux/filemanager/FileManagerWindow.h"
#include "linux/filemanager/OpenFileManagers.h"
#include "tests/support/Eventually.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <string_view>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::XWindow;

class X11Test : public ::testing::Test {
  protected:
    X11Connection& connection() { return desktop.connection(); }
    void activate(const XWindow& window) { desktop.activate(window.id()); }

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
    EXPECT_TRUE(desktop.eventually([&] { return front.window() == thunar.id() && activations >= 1; }));
    EXPECT_EQ(connection().windowClass(thunar.id()), "Thunar");
    EXPECT_EQ(connection().pid(thunar.id()), 4711);

    XWindow editor(connection(), "Editor", 4712);
    activate(editor);
    EXPECT_TRUE(desktop.eventually([&] { return activations >= 2; }));
    EXPECT_EQ(front.window(), editor.id());
    EXPECT_EQ(front.lastActive(), editor.id());
    activate(thunar);
    EXPECT_TRUE(desktop.eventually([&] { return activations >= 3; }));

    // The panel has the keyboard: what counts is what it was summoned over.
    XWindow panel(connection(), "torvo-bar", ::getpid());
    activate(panel);
    EXPECT_EQ(front.window(), panel.id());
    front.setPanel(panel.id());
    EXPECT_EQ(front.window(), thunar.id());
    // One that was brought to the front counts, though the panel was quicker.
    front.expect(editor.id());
    EXPECT_EQ(front.window(), editor.id());
    for (const char* name : {"pcmanfm-qt", "dolphin", "org.gnome.Nautilus", "Nemo"})
        EXPECT_TRUE(isFileManager(name));
    EXPECT_FALSE(isFileManager("thunar-settings"));
    EXPECT_EQ(connection().windowClass(connection().root()), "");
}

TEST_F(X11Test, LooksThroughThePanelToWhatTheUserSees) {
    XWindow other(connection(), "Editor", 1);
    XWindow thunar(connection(), "Thunar", 2);
    XWindow dock(connection(), "dock", 3, "DOCK");
    XWindow panel(connection(), "torvo-bar", ::getpid(), "UTILITY");
    activate(thunar);
    activate(other);
    activate(panel);
    EXPECT_TRUE(desktop.eventually([&] { return connection().stackedWindows().back() == dock.id(); }));
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
    EXPECT_TRUE(desktop.eventually([&] { return activations > 0; }));
    EXPECT_EQ(activations, 1) << "nobody worked anywhere";
    // The time counts from the last time that there was none.
    now += 10s;
    setActive(XCB_WINDOW_NONE);
    EXPECT_EQ(front.window(), thunar.id());
}

TEST_F(X11Test, ThePanelIsNoOtherApplication) {
    auto now = std::chrono::steady_clock::now();
    XWindow thunar(connection(), "Thunar", 1);
    XWindow editor(connection(), "Editor", 2);
    XWindow panel(connection(), "torvo-bar", ::getpid());
    // The window manager is done with them, and says nothing of its own any more.
    for (const auto* window : {&thunar, &editor, &panel})
        activate(*window);
    FrontApplication front(connection(), [&] { return now; });
    front.setPanel(panel.id());
    setActive(editor.id());
    int activations = 0;
    const auto subscription = front.onActivation([&] { ++activations; });
    const struct {
        xcb_window_t active;
        int told;
        const char* what;
    } rows[] = {{panel.id(), 0, "called over the editor"},
                {XCB_WINDOW_NONE, 0, "keys go to another window for a moment"},
                {panel.id(), 0, "and back"},
                {editor.id(), 1, "the user went back to it"},
                {XCB_WINDOW_NONE, 1, "it is kept from the keyboard for a moment"},
                {editor.id(), 1, "and has it again"},
                {thunar.id(), 2, "another one"}};
    for (const auto& row : rows) {
        setActive(row.active);
        (void)front.window();
        EXPECT_TRUE(desktop.eventually([&] { return activations >= row.told; })) << row.what;
        EXPECT_EQ(activations, row.told) << row.what;
    }
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

/// Which window of a file manager is the front one.
class OpenFileManagersTest : public X11Test {
  protected:
    /// The window manager of the test moves nothing for it: it only says so.
    static void putOnDesktop(XWindow& window, std::uint32_t number) {
        window.setProperty("_NET_WM_DESKTOP", {number}, XCB_ATOM_CARDINAL);
    }

    XWindow one{connection(), "Thunar", 1};
    XWindow two{connection(), "Thunar", 1};
    XWindow other{connection(), "dolphin", 2};
    OpenFileManagers open;
};

TEST_F(OpenFileManagersTest, HaveTheActiveWindowAtTheFrontWhateverLiesAboveIt) {
    activate(two);
    activate(other);
    activate(one);
    EXPECT_THAT(open.windows(), ElementsAre(one.id(), other.id(), two.id()));
    EXPECT_THAT(open.processes(), ElementsAre(1, 2));
    desktop.raise(two.id());
    EXPECT_TRUE(desktop.eventually([&] { return connection().stackedWindows().back() == two.id(); }));
    EXPECT_EQ(open.front(), one.id());
    EXPECT_EQ(open.frontOf(1), one.id());
    EXPECT_EQ(open.frontOf(2), other.id());
    // Somebody works in a terminal: then the topmost one counts.
    const XWindow terminal(connection(), "Terminal", 3);
    activate(terminal);
    EXPECT_EQ(open.front(), two.id());
}

TEST_F(OpenFileManagersTest, LeaveOutWhatTheUserDoesNotSee) {
    const XWindow terminal(connection(), "Terminal", 3);
    activate(other);
    activate(one);
    activate(two);
    activate(terminal);
    putOnDesktop(two, 3);
    EXPECT_EQ(open.front(), one.id()) << "on another desktop nothing is restacked or hidden";
    EXPECT_EQ(open.frontOf(1), one.id());
    one.setProperty("_NET_WM_STATE", {connection().hints()->_NET_WM_STATE_HIDDEN}, XCB_ATOM_ATOM);
    EXPECT_THAT(open.windows(), ElementsAre(other.id()));
    EXPECT_EQ(open.frontOf(1), std::nullopt);
    putOnDesktop(two, 0xFFFFFFFF);
    EXPECT_EQ(open.front(), two.id()) << "on all desktops";
    const XWindow dialog(connection(), "Thunar", 1, "DIALOG");
    activate(dialog);
    EXPECT_THAT(open.windows(), ElementsAre(two.id(), other.id()));
    putOnDesktop(two, 3);
    putOnDesktop(other, 3);
    EXPECT_THAT(open.processes(), IsEmpty());
}

TEST_F(OpenFileManagersTest, LookThroughThePanel) {
    XWindow panel(connection(), "torvo-bar", ::getpid(), "UTILITY");
    FrontApplication front(connection());
    front.setPanel(panel.id());
    OpenFileManagers seen([&] { return front.lastActive(); });
    activate(one);
    activate(other);
    activate(one);
    activate(panel);
    desktop.raise(other.id());
    EXPECT_TRUE(desktop.eventually([&] { return desktop.isAbove(other.id(), one.id()); }));
    EXPECT_EQ(seen.front(), one.id());
    EXPECT_EQ(front.window(), one.id()) << "both mean the same one";
    EXPECT_EQ(open.front(), other.id()) << "without a panel there is nothing to look through";
    putOnDesktop(one, 3);
    EXPECT_EQ(seen.front(), other.id());
    EXPECT_EQ(front.window(), other.id());
}

} // namespace
} // namespace torvo
