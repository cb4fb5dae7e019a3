// The whole program on a desktop with a real file manager: what a user does with the keyboard, and what is there
// afterwards.
#include "tests/support/RunningBar.h"

#include "linux/LinuxProcessHost.h"
#include "linux/RemoteControl.h"
#include "linux/SettingsFile.h"
#include "linux/X11Frames.h"
#include "linux/clipboard/X11Clipboard.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <map>

namespace torvo {
namespace {

using testing::RunningBar;

class RunningBarTest : public ::testing::TestWithParam<testing::FileManagerKind> {
  protected:
    void picture(const std::string& name) {
        ASSERT_EQ(testing::run({"black", (files / name).path(), "40", "30"}, {.program = "/usr/bin/vips"}).status, 0);
    }
    testing::Ran torvo(std::vector<std::string> arguments) {
        return testing::run(std::move(arguments), {.program = TORVO_BIN_DIR "/torvo"});
    }

    testing::TemporaryFolder files;
    testing::DesktopSession session;
};

TEST_P(RunningBarTest, ATypedWordConvertsWhatIsSelectedAndSelectsWhatCameOfIt) {
    for (const char* name : {"one.png", "two.png", "three.png"})
        picture(name);
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(session.selectsAll(3));
    const RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); })) << "docked to the window";
    ASSERT_TRUE(bar.carriesOut("jpg"));
    for (const char* name : {"one.jpg", "two.jpg", "three.jpg"})
        EXPECT_TRUE((files / name).exists()) << name;
    EXPECT_TRUE(session.selectionBecomes({"one.jpg", "two.jpg", "three.jpg"}));
    ASSERT_TRUE(bar.carriesOut("select all png", "selected"));
    EXPECT_TRUE(session.selectionBecomes({"one.png", "two.png", "three.png"}));
}

TEST_P(RunningBarTest, FollowsTheWindowAndHidesWithIt) {
    picture("one.png");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    const RunningBar bar(session);
    auto& display = session.display();
    const auto sitsUnderTheWindow = [&] {
        const auto window = windowFrame(display, session.window());
        const auto place = bar.frame();
        return window && place && std::abs(place->x - window->x) < 1 &&
               std::abs(place->y - (window->y + window->height + 8)) < 1;
    };
    EXPECT_TRUE(session.desktop().eventually(sitsUnderTheWindow));
    testing::XDesktop::input({"windowsize", std::to_string(session.window()), "700", "400"});
    testing::XDesktop::input({"windowmove", std::to_string(session.window()), "90", "60"});
    EXPECT_TRUE(session.desktop().eventually([&] {
        const auto window = windowFrame(display, session.window());
        return window && window->x > 50 && sitsUnderTheWindow();
    }));
    // Summoned, it is as wide as the window; left again, it is narrow.
    ASSERT_TRUE(bar.summon());
    EXPECT_TRUE(session.desktop().eventually([&] { return bar.frame() && bar.frame()->width >= 600; }));
    session.activate(session.window());
    EXPECT_TRUE(session.desktop().eventually([&] { return bar.frame() && bar.frame()->width <= 300; }));

    {
        const testing::XWindow editor(display, "Editor", 4711);
        session.activate(editor.id());
        EXPECT_TRUE(session.desktop().eventually([&] { return !bar.isShown(); }));
        const auto called = torvo({"toggle"});
        EXPECT_EQ(called.status, 1);
        EXPECT_EQ(called.errors,
                  "torvo: bring a window of a file manager to the front first: the bar shows under it\n");
    }
    session.activate(session.window());
    EXPECT_TRUE(session.desktop().eventually(sitsUnderTheWindow));
    session.close();
    EXPECT_TRUE(session.desktop().eventually([&] { return !bar.isShown(); }));
}

TEST_P(RunningBarTest, IsUnderTheWindowInEveryScaleAndOnEveryMonitor) {
    picture("one.png");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    // The primary monitor begins elsewhere than the desktop.
    session.desktop().setMonitors({{640, 60, 640, 840}, {0, 0, 640, 900}});
    testing::XDesktop::input({"windowsize", std::to_string(session.window()), "500", "300"});
    std::map<double, double> heights;
    for (const double scale : {1.0, 2.0}) {
        const testing::ScopedVariable factor("QT_SCALE_FACTOR", std::to_string(scale));
        RunningBar bar(session);
        for (const double x : {60.0, 700.0}) {
            testing::XDesktop::input(
                {"windowmove", std::to_string(session.window()), std::to_string(static_cast<int>(x)), "150"});
            const auto isUnder = [&](double width) {
                Rect window;
                Rect place;
                EXPECT_TRUE(session.desktop().eventually([&] {
                    window = windowFrame(session.display(), session.window()).value_or(Rect{});
                    place = bar.frame().value_or(Rect{});
                    // A point may be some pixels.
                    return std::abs(window.x + 640 - x) < 20 && std::abs(place.x - window.x) < scale &&
                           std::abs(place.y - (window.y + window.height + 8 * scale)) < scale && place.width == width;
                })) << "at "
                    << x << " scaled by " << scale << ": a window at " << window.x << ' ' << window.y << ' '
                    << window.width << 'x' << window.height << ", the bar at " << place.x << ' ' << place.y << ' '
                    << place.width << 'x' << place.height;
            };
            isUnder(300 * scale);
            heights[scale] = bar.frame()->height;
            ASSERT_TRUE(bar.summon());
            isUnder(std::max(windowFrame(session.display(), session.window())->width, 420 * scale));
            session.activate(session.window());
            isUnder(300 * scale);
        }
        EXPECT_EQ(bar.quit(), 0);
    }
    EXPECT_EQ(heights[2], 2 * heights[1]);
}

TEST_P(RunningBarTest, AnswersWhileTheFileManagerHangs) {
    picture("one.png");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    const RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); }));
    ASSERT_EQ(::kill(session.pid(), SIGSTOP), 0);
    EXPECT_TRUE(bar.summon());
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(torvo({"prefill", "zip"}).status, 0) << "it takes orders";
    session.press("Escape");
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(3));
    ASSERT_EQ(::kill(session.pid(), SIGCONT), 0);
    EXPECT_TRUE(testing::eventually([&] { return session.fileManagers().folder(session.window()) == files.path(); }));
    ASSERT_TRUE(bar.carriesOut("select all png", "selected"));
    EXPECT_TRUE(session.selectionBecomes({"one.png"}));
}

TEST_P(RunningBarTest, GivesTheKeyboardBackToTheWindowItWasSummonedOver) {
    for (const char* name : {"one/a.png", "two/b.png"})
        files.file(name, "content");
    ASSERT_TRUE(session.open(GetParam(), files / "one"));
    const auto first = session.window();
    ASSERT_TRUE(session.openAnother(GetParam(), files / "two"));
    // It lies above, but on another desktop, where nobody looks.
    testing::XDesktop::input({"set_desktop_for_window", std::to_string(session.window()), "1"});
    session.activate(first);
    const RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); }));
    ASSERT_TRUE(bar.summon());
    const auto place = windowFrame(session.display(), first);
    EXPECT_TRUE(session.desktop().eventually([&] { return bar.frame() && std::abs(bar.frame()->x - place->x) < 1; }));
    session.press("Escape");
    EXPECT_TRUE(session.desktop().eventually([&] { return session.display().activeWindow() == first; }));
}

TEST_P(RunningBarTest, IsReachedFromTheCommandLine) {
    picture("one.png");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); }));
    EXPECT_EQ(torvo({"toggle"}).status, 0);
    EXPECT_TRUE(session.desktop().eventually([&] { return bar.isKey(); }));
    EXPECT_EQ(torvo({"drop", (files / "one.png").path()}).status, 0);
    EXPECT_TRUE(session.selectionBecomes({"one.png"}));
    // A second start hands over what it was started for.
    const auto second =
        testing::run({"torvo:?files=" + (files / "one.png").path()}, {.program = TORVO_BIN_DIR "/torvo-bar"});
    EXPECT_EQ(second.status, 0) << second.errors;
    // An empty list is not the file manager's selection.
    const auto none = torvo({"run", "--files-from", "-", "zip"});
    EXPECT_EQ(none.status, 2) << none.output;
    EXPECT_FALSE((files / "Archive.zip").exists());
    // Without files, the file manager's selection counts.
    const auto planned = torvo({"plan", "jpg"});
    EXPECT_EQ(planned.status, 0) << planned.errors;
    EXPECT_FALSE((files / "one.jpg").exists());
    const auto ran = torvo({"run", "jpg"});
    EXPECT_EQ(ran.status, 0) << ran.errors;
    EXPECT_TRUE((files / "one.jpg").exists());
    EXPECT_EQ(bar.quit(), 0);
}

TEST_P(RunningBarTest, IsStartedByTheFirstOrder) {
    picture("one.png");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(SettingsFile(SettingsFile::defaultLocation()).set("onboardingShown", true));
    auto& display = session.display();
    const auto bar = [&]() -> std::optional<xcb_window_t> {
        for (const auto window : display.stackedWindows())
            if (display.textProperty(window, "_NET_WM_NAME") == "Torvo")
                return window;
        return std::nullopt;
    };
    LinuxProcessHost host;
    for (const auto& order : {std::vector<std::string>{"toggle"}, {"drop", "one.png"}}) {
        const auto ran = testing::run(order, {.program = TORVO_BIN_DIR "/torvo", .folder = files.path()});
        EXPECT_EQ(ran.status, 0) << ran.errors;
        ASSERT_TRUE(session.desktop().eventually([&] { return bar() && display.activeWindow() == bar(); }));
        const auto pid = display.pid(*bar()).value_or(-1);
        ASSERT_GT(pid, 0);
        EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/cwd"), session.home().path())
            << "the folder can be unmounted";
        EXPECT_TRUE(order.front() == "toggle" || session.selectionBecomes({"one.png"}));
        const auto process = host.identity(pid).value_or(ProcessIdentity{});
        ASSERT_EQ(::kill(pid, SIGTERM), 0);
        EXPECT_TRUE(testing::eventually([&] { return host.hasEnded(process); }));
        session.activate(session.window());
    }
}

INSTANTIATE_TEST_SUITE_P(Desktop, RunningBarTest, ::testing::ValuesIn(testing::fileManagerKinds()),
                         ::testing::PrintToStringParamName());

std::string pasted() {
    return testing::run({"-selection", "clipboard", "-out"}, {.program = "/usr/bin/xclip"}).output;
}

TEST(ClipboardOfRunningBarTest, OutlivesTheBar) {
    testing::TemporaryFolder files;
    const auto text = files.file("text", "what the user has copied");
    const auto folder = files.folder("shown");
    for (const char* name : {"shown/a.txt", "shown/b.txt"})
        files.file(name, "content");
    testing::DesktopSession session;
    // Its icon view shows nothing of its items to anybody else.
    ASSERT_TRUE(session.open({"thunar", "Thunar"}, folder));
    ASSERT_TRUE(session.selectsAll(2));
    const auto clipboard = X11Clipboard::create();
    const auto tests = clipboard->owner();
    const testing::BackgroundProgram user("/usr/bin/xclip", {"-quiet", "-selection", "clipboard", text.path()});
    ASSERT_TRUE(
        testing::eventually([&] { return clipboard->owner() != tests && pasted() == testing::readFile(text); }));
    const auto users = clipboard->owner();

    testing::RunningBar bar(session);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar.isShown(); }));
    ASSERT_TRUE(bar.carriesOut("zip"));
    EXPECT_NE(clipboard->owner(), users) << "the bar has put it back";
    EXPECT_EQ(pasted(), testing::readFile(text));
    EXPECT_EQ(bar.quit(), 0);
    EXPECT_EQ(pasted(), testing::readFile(text));
    EXPECT_EQ(RemoteBar::toggle().error().kind, RemoteBar::Failure::Kind::notRunning) << "nothing else of it is left";
}

} // namespace
} // namespace torvo
