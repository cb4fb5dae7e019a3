#pragma once

#include "tests/support/AccessibleApplication.h"
#include "tests/support/ModelServer.h"
#include "tests/support/RunningBar.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

/// The running bar beside a file manager on a folder of the test's own, with a model server at its endpoint: what a
/// user does with it by the mouse and the keyboard, and through assistive technology.
class BarJourney : public ::testing::Test {
  protected:
    BarJourney();

    /// Opens the file manager, unless it is open, and starts the bar, by default with the settings of one that was
    /// launched before.
    void launch(RunningBar::FirstLaunch firstLaunch = RunningBar::FirstLaunch::no);
    /// The same, and waits until the bar is docked.
    [[nodiscard]] bool start();
    /// A small picture among the files.
    void picture(const std::string& name) const;
    /// Has exactly these files selected in the file manager, and its window in front.
    [[nodiscard]] bool select(const std::vector<std::string>& names);
    /// Has the bar be small and empty again, as it would be by itself a moment after a success.
    [[nodiscard]] bool dismiss() const;
    /// Chooses an item of the bar's menu with the mouse.
    [[nodiscard]] bool choose(std::string_view item);
    /// The same, and waits until the window that it opens has the keyboard in place of the bar.
    [[nodiscard]] bool open(std::string_view item, std::string_view window);
    /// Waits until no window of that title is on the screen, and goes back to the file manager and the bar docked
    /// there.
    [[nodiscard]] bool goesBackFrom(std::string_view window);
    /// Closes a window that has the keyboard, and goes back.
    [[nodiscard]] bool close(std::string_view window);

    /// Has the model answer the next question with a command. `preview`: a command, or empty for none.
    void modelPlans(std::string_view command, std::string_view explanation, std::string_view preview = "",
                    bool isDestructive = false);
    /// What the model was asked so far, the newest last.
    [[nodiscard]] std::vector<std::string> questions() const;
    /// How many entries of that outcome the command log holds, and whether it comes to hold that many.
    [[nodiscard]] std::size_t logged(std::string_view outcome) const { return bar->logged(outcome); }
    [[nodiscard]] bool logs(std::string_view outcome, std::size_t count = 1);

    TemporaryFolder files;
    ModelServer model;
    DesktopSession session;
    std::optional<RunningBar> bar;
    std::optional<AccessibleApplication> screen;

  private:
    [[nodiscard]] bool opensMenu();

    bool m_isOpen = false;
    bool m_isLower = false;
};

} // namespace torvo::testing
