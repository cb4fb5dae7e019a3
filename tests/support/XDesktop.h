#pragma once

#include "linux/LinuxProcessHost.h"
#include "linux/X11Connection.h"
#include "support/Descriptor.h"
#include "support/Geometry.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace torvo::testing {

/// A program that runs beside the test, and ends with the object, with everything that it started.
class BackgroundProgram {
  public:
    /// `program`: a path. `output`, `errors`: where its standard output and its standard error go; -1 for nowhere. It
    /// gets this process's environment and these variables ("NAME=value").
    BackgroundProgram(const std::string& program, const std::vector<std::string>& arguments, int output = -1,
                      const std::vector<std::string>& variables = {}, int errors = -1);
    ~BackgroundProgram();
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;

    [[nodiscard]] std::int32_t pid() const { return m_child; }
    /// Asks it to end and waits until it has; its exit status.
    [[nodiscard]] int end();

  private:
    LinuxProcessHost m_host;
    std::int32_t m_child = -1;
};

/// An X server without a screen and a window manager on it, with a session bus. While it lives, $DISPLAY and
/// $DBUS_SESSION_BUS_ADDRESS name them.
class XDesktop {
  public:
    /// `options`: further ones of the server.
    explicit XDesktop(const std::string& screen = "1280x800x24", const std::vector<std::string>& options = {});

    /// Presses keys or moves the mouse: the arguments of xdotool.
    static void input(const std::vector<std::string>& arguments);
    /// Lets the connection dispatch until the condition holds; false when it still does not at the deadline.
    [[nodiscard]] bool eventually(const std::function<bool()>& condition) const;

    /// Gives a window the keyboard.
    void activate(xcb_window_t window);
    /// Puts a window above the others, whatever has the keyboard.
    void raise(xcb_window_t window);
    [[nodiscard]] bool isAbove(xcb_window_t upper, xcb_window_t lower);

    /// Splits the screen into monitors, rectangles of the whole desktop with the top edge as `y`; the first one is the
    /// primary one.
    void setMonitors(const std::vector<Rect>& monitors);

    [[nodiscard]] X11Connection& connection() { return *m_connection; }

  private:
    TemporaryFolder m_home;
    std::vector<std::unique_ptr<BackgroundProgram>> m_programs;
    std::unique_ptr<X11Connection> m_connection;
};

[[nodiscard]] xcb_atom_t atomOf(X11Connection& connection, const std::string& name);

/// An ordinary window of an application.
class XWindow {
  public:
    /// `application`: the name in WM_CLASS. `type`: of _NET_WM_WINDOW_TYPE, such as "DOCK"; empty for none.
    XWindow(X11Connection& connection, const std::string& application, std::int32_t pid, const std::string& type = "");
    ~XWindow();
    XWindow(const XWindow&) = delete;
    XWindow& operator=(const XWindow&) = delete;

    [[nodiscard]] xcb_window_t id() const { return m_window; }
    void setProperty(const std::string& name, const std::vector<std::uint32_t>& values, xcb_atom_t type);

  private:
    X11Connection& m_connection;
    xcb_window_t m_window;
};

/// A program that has grabbed the keyboard, as an open menu does.
class KeyboardGrab {
  public:
    KeyboardGrab();

    /// How many keys were pressed into it by now.
    [[nodiscard]] int keyPresses();

  private:
    std::unique_ptr<X11Connection> m_connection = X11Connection::create();
    int m_keyPresses = 0;
};

} // namespace torvo::testing
