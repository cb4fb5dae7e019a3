#pragma once

#include "linux/filemanager/FileManagers.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XDesktop.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

/// A file manager as it is started, and as its windows say who they are.
struct FileManagerKind {
    std::string_view program;
    std::string_view windowClass;

    /// For the names of tests.
    friend void PrintTo(const FileManagerKind& kind, std::ostream* out) {
        *out << kind.program.substr(0, kind.program.find('-'));
    }
};

/// Those that every test runs with; all that Torvo drives where $TORVO_ALL_FILE_MANAGERS is set.
[[nodiscard]] std::vector<FileManagerKind> fileManagerKinds();

/// Whether that is so; some tests are about one of the others.
[[nodiscard]] bool hasAllFileManagers();

/// A user's session: a home of its own, an X server with a window manager, a session bus, and the accessibility bus
/// switched on.
class DesktopSession {
  public:
    DesktopSession();

    /// Opens a file manager on a folder and waits until its window is active and shows that folder; false when it does
    /// not come to that. It ends with the object.
    [[nodiscard]] bool open(const FileManagerKind& kind, const FileURL& folder);
    /// Opens a further window of the same one, which becomes the session's window.
    [[nodiscard]] bool openAnother(const FileManagerKind& kind, const FileURL& folder);
    void close();

    /// The window of the file manager that was opened last.
    [[nodiscard]] xcb_window_t window() const { return m_window; }
    [[nodiscard]] std::int32_t pid() { return display().pid(m_window).value_or(-1); }
    [[nodiscard]] FileManagers& fileManagers() { return *m_fileManagers; }
    [[nodiscard]] XDesktop& desktop() { return *m_desktop; }
    [[nodiscard]] X11Connection& display() { return m_desktop->connection(); }
    [[nodiscard]] const TemporaryFolder& home() const { return m_home; }

    /// Gives a window the keyboard.
    void activate(xcb_window_t window) { m_desktop->activate(window); }
    /// Clicks into the file manager's view where no item is, as long as there are few; false when it has no window.
    bool clickBesideTheItems();
    /// Clicks there and presses the keys that select everything, until that many items are
    /// selected: a window that still loads its folder selects what it has.
    [[nodiscard]] bool selectsAll(std::size_t count);
    /// Presses keys ("ctrl+a"), or types a text, into whatever has the keyboard.
    static void press(const std::string& keys) { XDesktop::input({"key", keys}); }
    static void type(const std::string& text) { XDesktop::input({"type", text}); }

    /// The names of the selected items, sorted.
    [[nodiscard]] std::vector<std::string> selectedNames();
    /// Whether the selection comes to be these names.
    [[nodiscard]] bool selectionBecomes(std::vector<std::string> names);

  private:
    [[nodiscard]] bool start(const FileManagerKind& kind, std::vector<std::string> arguments, const FileURL& folder);

    TemporaryFolder m_home;
    std::deque<ScopedVariable> m_environment;
    std::optional<XDesktop> m_desktop;
    std::vector<std::unique_ptr<BackgroundProgram>> m_started;
    SessionBus m_bus;
    std::unique_ptr<FileManagers> m_fileManagers;
    xcb_window_t m_window = XCB_WINDOW_NONE;
};

} // namespace torvo::testing
