#pragma once

#include "tests/support/DesktopSession.h"

#include <optional>

namespace torvo::testing {

/// The running `torvo-bar`, in a session, with settings and data of its own. Ends with the object.
class RunningBar {
  public:
    enum class FirstLaunch { no, yes };
    explicit RunningBar(DesktopSession& session, FirstLaunch firstLaunch = FirstLaunch::no);
    /// Fails the test when the bar's main thread was kept from its events for long, or it wrote to standard error.
    ~RunningBar();
    RunningBar(const RunningBar&) = delete;
    RunningBar& operator=(const RunningBar&) = delete;

    [[nodiscard]] std::int32_t pid() const { return m_program->pid(); }
    /// A window of the bar's program with that title; absent while there is none on the screen.
    [[nodiscard]] std::optional<xcb_window_t> window(std::string_view title) const;
    /// The bar itself.
    [[nodiscard]] std::optional<xcb_window_t> bar() const { return window("Torvo"); }
    [[nodiscard]] bool isShown() const { return bar().has_value(); }
    /// Whether the bar has the keyboard.
    [[nodiscard]] bool isKey() const;
    /// Whether a menu or a list of choices of the bar's program is open.
    [[nodiscard]] bool hasPopup() const;
    /// Where the bar is, from the top left.
    [[nodiscard]] std::optional<Rect> frame() const;

    /// Presses the shortcut and waits until the bar has the keyboard.
    [[nodiscard]] bool summon() const;
    /// Summons the bar, types a command and presses Return.
    [[nodiscard]] bool enter(const std::string& command) const;
    /// The same, and waits until the command has come to an end of that name in the command log. Until then nobody else
    /// should ask the file manager for anything: it has only one clipboard and one menu bar.
    [[nodiscard]] bool carriesOut(const std::string& command, const std::string& outcome = "completed") const;
    /// How many entries of that outcome the command log holds.
    [[nodiscard]] std::size_t logged(std::string_view outcome) const;

    /// What it wrote to standard error.
    [[nodiscard]] std::string complaints() const;
    /// Asks it to end, as a session does at log-out, and waits until it has; its exit status.
    [[nodiscard]] int quit();

  private:
    [[nodiscard]] FileURL turns() const { return m_session.home() / "turns"; }
    [[nodiscard]] FileURL errors() const { return m_session.home() / "errors"; }

    DesktopSession& m_session;
    std::unique_ptr<BackgroundProgram> m_program;
};

} // namespace torvo::testing
