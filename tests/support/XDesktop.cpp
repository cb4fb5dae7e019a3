#include "tests/support/XDesktop.h"

#include "execution/ProcessRunner.h"
#include "tests/support/Eventually.h"
#include "tests/support/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace torvo::testing {

namespace {

/// The first line that a program prints.
std::string firstLine(int output) {
    std::string line;
    char c = 0;
    while (::read(output, &c, 1) == 1 && c != '\n')
        line += c;
    return line;
}

} // namespace

BackgroundProgram::BackgroundProgram(const std::string& program, const std::vector<std::string>& arguments, int output,
                                     const std::vector<std::string>& variables, int errors) {
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    auto environment = ownEnvironment();
    environment.insert(environment.end(), variables.begin(), variables.end());
    // It ends with this process, however that ends.
    std::vector<std::string> all{"--pdeathsig", "KILL", program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto child = m_host.launch({.executable = "/usr/bin/setpriv",
                                      .arguments = std::move(all),
                                      .environment = std::move(environment),
                                      .standardOutput = output < 0 ? nowhere.get() : output,
                                      .standardError = errors < 0 ? nowhere.get() : errors});
    EXPECT_TRUE(child.has_value()) << program;
    m_child = child.value_or(-1);
}

int BackgroundProgram::end() {
    m_host.signalGroup(m_child, StopSignal::terminate);
    return m_host.reap(std::exchange(m_child, -1));
}

BackgroundProgram::~BackgroundProgram() {
    if (m_child < 0)
        return;
    m_host.signalGroup(m_child, StopSignal::kill);
    (void)m_host.reap(m_child);
}

XDesktop::XDesktop(const std::string& screen, const std::vector<std::string>& options) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor read(ends[0]);
    Descriptor write(ends[1]);
    // -displayfd 1: the server picks a free number and says which on its standard output.
    std::vector<std::string> server{"-displayfd", "1", "-screen", "0", screen, "-nolisten", "tcp"};
    server.insert(server.end(), options.begin(), options.end());
    m_programs.push_back(std::make_unique<BackgroundProgram>("/usr/bin/Xvfb", server, write.get()));
    ::setenv("DISPLAY", (":" + firstLine(read.get())).c_str(), 1);

    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const Descriptor address(ends[0]);
    write = Descriptor(ends[1]);
    m_programs.push_back(std::make_unique<BackgroundProgram>(
        "/usr/bin/dbus-daemon", std::vector<std::string>{"--session", "--nofork", "--print-address=1"}, write.get()));
    ::setenv("DBUS_SESSION_BUS_ADDRESS", firstLine(address.get()).c_str(), 1);

    m_programs.push_back(std::make_unique<BackgroundProgram>(
        "/usr/bin/openbox", std::vector<std::string>{"--sm-disable"}, -1,
        std::vector<std::string>{"HOME=" + m_home.path(), "XDG_CONFIG_HOME=" + m_home.path()}));
    m_connection = X11Connection::create();
    EXPECT_TRUE(m_connection);
    // The window manager forgets windows that ask to be shown while it starts: it is there once it manages one.
    const XWindow first(*m_connection, "first", 1);
    EXPECT_TRUE(testing::eventually([&] {
        xcb_map_window(m_connection->get(), first.id());
        xcb_flush(m_connection->get());
        const auto managed = m_connection->stackedWindows();
        return std::ranges::find(managed, first.id()) != managed.end();
    }));
}

void XDesktop::input(const std::vector<std::string>& arguments) {
    EXPECT_EQ(run(arguments, {.program = "/usr/bin/xdotool"}).status, 0);
}

bool XDesktop::eventually(const std::function<bool()>& condition) const {
    return testing::eventually([&] {
        m_connection->dispatch();
        return condition();
    });
}

void XDesktop::activate(xcb_window_t window) {
    m_connection->activate(window);
    EXPECT_TRUE(eventually([&] { return m_connection->activeWindow() == window; }));
}

void XDesktop::raise(xcb_window_t window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection->get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(m_connection->get());
}

bool XDesktop::isAbove(xcb_window_t upper, xcb_window_t lower) {
    const auto windows = m_connection->stackedWindows();
    return std::ranges::find(windows, lower) < std::ranges::find(windows, upper);
}

xcb_atom_t atomOf(X11Connection& connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    return XcbReply<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(connection.get(), cookie, nullptr))->atom;
}

void XDesktop::setMonitors(const std::vector<Rect>& monitors) {
    auto& connection = *m_connection;
    const auto cookie = xcb_randr_get_screen_resources_current(connection.get(), connection.root());
    const XcbReply<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(connection.get(), cookie, nullptr));
    ASSERT_TRUE(resources && resources->num_outputs > 0);
    for (std::size_t i = 0; i < monitors.size(); ++i) {
        const auto& frame = monitors[i];
        // By hand: the library's own function sends a wrong length when there are no outputs.
        struct {
            xcb_randr_set_monitor_request_t request{};
            xcb_randr_monitor_info_t monitor{};
            xcb_randr_output_t output = XCB_NONE;
        } message;
        message.request.window = connection.root();
        message.monitor = {.name = atomOf(connection, "part" + std::to_string(i)),
                           .primary = i == 0,
                           .x = static_cast<std::int16_t>(frame.x),
                           .y = static_cast<std::int16_t>(frame.y),
                           .width = static_cast<std::uint16_t>(frame.width),
                           .height = static_cast<std::uint16_t>(frame.height)};
        // The server's one output: while no monitor has it, the whole screen is a monitor too.
        message.monitor.nOutput = i == 0 ? 1 : 0;
        message.output = *xcb_randr_get_screen_resources_current_outputs(resources.get());
        std::array<iovec, 4> parts{};
        parts[2] = {&message, i == 0 ? sizeof message : sizeof message - sizeof message.output};
        const xcb_protocol_request_t protocol{
            .count = 2, .ext = &xcb_randr_id, .opcode = XCB_RANDR_SET_MONITOR, .isvoid = 1};
        xcb_send_request(connection.get(), 0, &parts[2], &protocol);
    }
    xcb_flush(connection.get());
}

XWindow::XWindow(X11Connection& connection, const std::string& application, std::int32_t pid, const std::string& type)
    : m_connection(connection), m_window(xcb_generate_id(connection.get())) {
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, m_window, connection.root(), 50, 60, 300, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection.screen().root_visual, 0, nullptr);
    const auto classText = application + '\0' + application + '\0';
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(classText.size()), classText.data());
    xcb_ewmh_set_wm_pid(connection.hints(), m_window, static_cast<std::uint32_t>(pid));
    if (!type.empty())
        setProperty("_NET_WM_WINDOW_TYPE", {atomOf(connection, "_NET_WM_WINDOW_TYPE_" + type)}, XCB_ATOM_ATOM);
    xcb_map_window(connection.get(), m_window);
    xcb_flush(connection.get());
}

XWindow::~XWindow() {
    xcb_destroy_window(m_connection.get(), m_window);
    xcb_flush(m_connection.get());
}

void XWindow::setProperty(const std::string& name, const std::vector<std::uint32_t>& values, xcb_atom_t type) {
    xcb_change_property(m_connection.get(), XCB_PROP_MODE_REPLACE, m_window, atomOf(m_connection, name), type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
    // Whoever looks through another connection sees it from now on.
    (void)m_connection.activeWindow();
}

KeyboardGrab::KeyboardGrab() {
    auto* connection = m_connection->get();
    m_connection->listen([this](const xcb_generic_event_t& event) {
        m_keyPresses += (event.response_type & 0x7F) == XCB_KEY_PRESS ? 1 : 0;
    });
    // Until the program that had it before has let go of it.
    EXPECT_TRUE(testing::eventually([&] {
        const XcbReply<xcb_grab_keyboard_reply_t> reply(
            xcb_grab_keyboard_reply(connection,
                                    xcb_grab_keyboard(connection, 0, m_connection->root(), XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }));
}

int KeyboardGrab::keyPresses() {
    // What the server sent before its answer is there with it.
    (void)m_connection->activeWindow();
    m_connection->dispatch();
    return m_keyPresses;
}

} // namespace torvo::testing
