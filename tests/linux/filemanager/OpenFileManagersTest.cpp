// Which window of a file manager is the front one, on a real X server with a real window manager.
#include "linux/filemanager/OpenFileManagers.h"

#include "linux/FrontApplication.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::XWindow;

class OpenFileManagersTest : public ::testing::Test {
  protected:
    X11Connection& connection() { return desktop.connection(); }
    void activate(const XWindow& window) {
        connection().activate(window.id());
        EXPECT_TRUE(desktop.eventually([&] { return connection().activeWindow() == window.id(); }));
    }
    /// The window manager of the test moves nothing for it: it only says so.
    static void putOnDesktop(XWindow& window, std::uint32_t number) {
        window.setProperty("_NET_WM_DESKTOP", {number}, XCB_ATOM_CARDINAL);
    }

    testing::XDesktop desktop;
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
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection().get(), two.id(), XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection().get());
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
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection().get(), other.id(), XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection().get());
    EXPECT_TRUE(desktop.eventually([&] {
        const auto windows = connection().stackedWindows();
        return std::ranges::find(windows, one.id()) < std::ranges::find(windows, other.id());
    }));
    EXPECT_EQ(seen.front(), one.id());
    EXPECT_EQ(front.window(), one.id()) << "both mean the same one";
    EXPECT_EQ(open.front(), other.id()) << "without a panel there is nothing to look through";
    putOnDesktop(one, 3);
    EXPECT_EQ(seen.front(), other.id());
    EXPECT_EQ(front.window(), other.id());
}

} // namespace
} // namespace torvo
