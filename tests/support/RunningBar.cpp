#include "tests/support/RunningBar.h"

#include "linux/SettingsFile.h"
#include "linux/X11Frames.h"
#include "support/Descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

namespace torvo::testing {

namespace {

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr double kSlowness = 1;
#else
constexpr double kSlowness = 10;
#endif

} // namespace

RunningBar::RunningBar(DesktopSession& session, FirstLaunch firstLaunch) : m_session(session) {
    if (firstLaunch == FirstLaunch::no) {
        SettingsFile settings(SettingsFile::defaultLocation());
        EXPECT_TRUE(settings.set("onboardingShown", true));
        EXPECT_TRUE(settings.set("commandLoggingEnabled", true));
    }
    const Descriptor written(::open(errors().path().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    m_program = std::make_unique<BackgroundProgram>(TORVO_BIN_DIR "/torvo-bar", std::vector<std::string>{}, -1,
                                                    std::vector<std::string>{"TORVO_WATCH_TURNS=" + turns().path()},
                                                    written.get());
}

RunningBar::~RunningBar() {
    const auto text = readFile(turns());
    std::istringstream lines(text);
    const auto milliseconds = [&lines] {
        std::string line;
        return std::getline(lines, line) ? std::strtod(line.c_str(), nullptr) : 0;
    };
    // Painting and looking for windows wait for the X server, which a busy machine keeps from its answers: up to 440 ms
    // were seen beside compilers. Waits for another program last longer.
    EXPECT_LT(milliseconds(), 1000 * kSlowness) << "the main thread was kept waiting:\n" << text;
    // The time of one picture on the screen; the most there was, 11 ms, is the first sight of the settings.
    EXPECT_LT(milliseconds(), 16 * kSlowness) << "the main thread was kept busy:\n" << text;
    EXPECT_EQ(complaints(), "");
}

std::string RunningBar::complaints() const {
    return readFile(errors());
}

std::optional<xcb_window_t> RunningBar::window(std::string_view title) const {
    auto& display = m_session.display();
    for (const auto window : display.stackedWindows())
        if (display.pid(window) == pid() && display.textProperty(window, "_NET_WM_NAME") == title)
            return window;
    return std::nullopt;
}

bool RunningBar::isKey() const {
    const auto active = m_session.display().activeWindow();
    return active && active == bar();
}

bool RunningBar::hasPopup() const {
    auto& display = m_session.display();
    const XcbReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(display.get(), xcb_query_tree(display.get(), display.root()), nullptr));
    const auto* first = xcb_query_tree_children(tree.get());
    return std::any_of(first, first + xcb_query_tree_children_length(tree.get()), [&](xcb_window_t window) {
        const XcbReply<xcb_get_window_attributes_reply_t> look(
            xcb_get_window_attributes_reply(display.get(), xcb_get_window_attributes(display.get(), window), nullptr));
        return look != nullptr && look->override_redirect != 0 && look->map_state == XCB_MAP_STATE_VIEWABLE &&
               display.pid(window) == pid();
    });
}

std::optional<Rect> RunningBar::frame() const {
    const auto window = bar();
    return window ? windowFrame(m_session.display(), *window) : std::nullopt;
}

bool RunningBar::summon() const {
    DesktopSession::press("super+shift+space");
    return m_session.desktop().eventually([&] { return isKey(); });
}

bool RunningBar::enter(const std::string& command) const {
    if (!summon())
        return false;
    // What is still in the field is typed over.
    DesktopSession::press("ctrl+a");
    DesktopSession::type(command);
    DesktopSession::press("Return");
    return true;
}

std::size_t RunningBar::logged(std::string_view outcome) const {
    const auto text = readFile(m_session.home() / "data/Torvo/command-log.jsonl");
    const auto word = '"' + std::string(outcome) + '"';
    std::size_t count = 0;
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
        ++count;
    return count;
}

bool RunningBar::carriesOut(const std::string& command, const std::string& outcome) const {
    const auto before = logged(outcome);
    return enter(command) && m_session.desktop().eventually([&] { return logged(outcome) > before; });
}

int RunningBar::quit() {
    const int status = m_program->end();
    m_program.reset();
    return status;
}

} // namespace torvo::testing
