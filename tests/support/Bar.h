#pragma once

#include "commandbar/CommandBarService.h"
#include "linux/CurlHttpSession.h"
#include "linux/SettingsBeside.h"
#include "linux/SettingsFile.h"
#include "linux/ThreadQueue.h"
#include "tests/support/FakeFinder.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/ModelServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/UnconfiningHost.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo::testing {

/// A command bar at work: the desktop around it is played, the files, the commands, the settings, the logs and the
/// model server's HTTP are real.
class Bar {
  public:
    explicit Bar(ManualDispatcher::Detached detached = ManualDispatcher::Detached::onThreads);
    ~Bar();
    Bar(const Bar&) = delete;
    Bar& operator=(const Bar&) = delete;

    /// Quits and starts the bar again: what is on the disk stays.
    void restart();

    /// Selects files of the folder by their names, in a window on it.
    void select(const std::vector<std::string>& names);
    /// Presses the shortcut.
    void summon();
    /// Types a text and presses Return, the bar shown before.
    void enter(std::string text);
    /// Presses Undo, and waits for what comes of it.
    void undo(const UUID& operation);
    void undoLast();
    /// Waits until nothing runs and no answer is awaited.
    [[nodiscard]] bool settles();
    [[nodiscard]] bool settlesAs(std::string_view status);

    [[nodiscard]] const CommandBarState& state() const { return service->state(); }
    [[nodiscard]] FileURL operator/(std::string_view name) const { return files / name; }
    /// The names in the folder, sorted.
    [[nodiscard]] std::vector<std::string> names() const;
    /// The names of what the file manager has selected.
    [[nodiscard]] std::vector<std::string> selectedNames() const;
    /// "event route-or-outcome detail" of each entry of the command log, which is on.
    [[nodiscard]] std::vector<std::string> logged();

    /// The plan that a model answers with, as it writes it.
    void modelAnswers(const std::string& command, const std::string& explanation = "Do it",
                      const std::string& preview = "", std::string_view kind = "run");
    /// Types a text for which the model has a command, and confirms that; false when it is not asked for.
    [[nodiscard]] bool begin(const std::string& text, const std::string& command, const std::string& explanation);

    TemporaryFolder files;
    TemporaryFolder support;
    FakeFinder finder;
    FakePanel window;
    FakePasteboard pasteboard;
    FakeUserNotifications notifications;
    FakeDistributedNotifications distributed;
    FakeTrash trash;
    FakeSystemLog systemLog;
    ModelServer server;
    SettingsFile defaults;
    UnconfiningHost processes{Confining::works};
    CurlHttpSession session;
    ThreadQueue queue;
    ManualQueue desktopQueue;
    ManualQueue diskQueue;
    CommandLog log;
    CommandBarPanel panel;
    ActionRunner runner;
    std::chrono::system_clock::time_point now{std::chrono::seconds(978'307'200 + 1000)};
    /// Ends its threads before what they use goes.
    std::optional<ManualDispatcher> dispatcher;
    /// What the bar sees of the settings.
    std::optional<SettingsBeside> settings;
    std::optional<CommandBarService> service;
    /// Every status line that listeners were told of, in order.
    std::vector<std::string> statuses;

  private:
    void start();

    Subscription m_watch;
};

} // namespace torvo::testing
