#pragma once

#include "commandbar/CommandBarState.h"
#include "desktop/CommandBarPanel.h"
#include "desktop/FinderService.h"
#include "execution/ActionRunner.h"
#include "execution/CommandLog.h"
#include "execution/HistoryStore.h"
#include "execution/OperationStore.h"
#include "execution/RenamePreview.h"
#include "execution/Revert.h"
#include "planning/RawPlan.h"
#include "platform/Dispatcher.h"
#include "platform/DistributedNotifications.h"
#include "platform/HttpSession.h"
#include "platform/Pasteboard.h"
#include "platform/ProcessHost.h"
#include "platform/SerialQueue.h"
#include "platform/Trash.h"
#include "platform/UserDefaults.h"
#include "platform/UserNotifications.h"
#include "platform/Workspace.h"
#include "support/FileURL.h"
#include "support/Observable.h"
#include "support/UUID.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvo {

/// What the bar works with. Everything must outlive the controller, and what runs beside the main thread (the runner,
/// the session, the log, the dispatcher) must outlive the dispatcher's detached tasks and those of the queues.
struct CommandBarServices {
    Dispatcher& dispatcher;
    /// Where the file manager and the clipboard are asked, one question after the other: they may be slow to answer.
    SerialQueue& desktopQueue;
    /// Where the disk is written to, one change after the other.
    SerialQueue& diskQueue;
    CommandBarPanel& panel;
    FinderService& finder;
    Workspace& workspace;
    ActionRunner& runner;
    ProcessHost& processes;
    UserDefaults& defaults;
    HttpSession& session;
    CommandLog& log;
    Pasteboard& pasteboard;
    UserNotifications& notifications;
    DistributedNotifications& distributed;
    Trash& trash;
    OperationStore store;
    FileURL home;
    /// The user's Desktop folder.
    FileURL desktop;
    /// When an activity record is made.
    std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
};

/// The one object behind the command bar: it owns what the bar shows, reacts to every key, click and drop, turns the
/// typed text into an action, asks, runs it, shows what came of it, and can undo it and run it again. Main thread only.
class CommandBarService {
  public:
    /// Loads the activity list and the history.
    explicit CommandBarService(CommandBarServices services);
    /// Asks what still runs to stop; its results are dropped. An undo that is under way is finished first.
    ~CommandBarService();
    CommandBarService(const CommandBarService&) = delete;
    CommandBarService& operator=(const CommandBarService&) = delete;

    [[nodiscard]] const CommandBarState& state() const { return m_state; }
    /// Calls `listener` after every change of the state.
    Subscription observe(std::function<void()> listener) { return m_observers.add(std::move(listener)); }

    /// The field's text was edited.
    void inputChanged(std::string text);
    /// Return was pressed, or a chip was clicked: understands the text and starts what it means; confirms a pending
    /// action that is not destructive.
    void submit();
    /// The same for a chip: its command replaces the text first.
    void submit(std::string text);
    void historyUp();
    void historyDown();
    void clearHistory();

    /// The shortcut: gives the bar the keyboard, showing it first when the file manager is at the front.
    void toggle();
    /// Puts a command into the field, for the user to look at.
    void prefill(std::string text);
    /// Files were dropped on the bar: they replace the selection.
    void handleDrop(const std::vector<FileURL>& files);
    /// Takes what is on the clipboard as dropped files.
    void useClipboard();
    /// Shows the bar in its full form under the front file-manager window and gives it the keyboard; without a window
    /// it is hidden.
    void openExpanded();
    /// Docks the bar to the front file-manager window, follows it, or hides with it.
    void syncAttachment();
    /// Hides the bar and abandons what is pending.
    void detach();
    void setAutoAttachEnabled(bool isEnabled);

    /// Runs the pending action.
    void confirmPending();
    /// Esc: ends what runs, abandons what is pending, or dismisses the bar.
    void cancel();
    /// Has the model try again, told what went wrong.
    void askAIToFix();

    /// Undoes an operation, beside the main thread. Does nothing while that is under way.
    void undo(const UUID& operation);
    /// Undoes the run whose files are shown.
    void undoLast();
    void rerun(const UUID& operation);
    /// Has the state say which operations can be undone, as their files are now.
    void lookAtOperations();
    /// Shows the files of the last run in the file manager.
    void revealLast();
    void clearLog();

    /// Asks what runs to stop, without a word to anybody, and finishes an undo that is under way: the program ends.
    void endWork();

  private:
    /// While one lives, changes are collected; the listeners are told once, when the last one ends, and then the file
    /// manager is asked once if it is to be.
    class Turn {
      public:
        explicit Turn(CommandBarService& service) : m_service(service) { ++m_service.m_turns; }
        ~Turn() {
            if (--m_service.m_turns > 0)
                return;
            m_service.m_observers.notify();
            if (const auto height = std::exchange(m_service.m_openedHeight, std::nullopt);
                height && *height != m_service.m_services.panel.height())
                m_service.m_services.panel.position(m_service.m_lastFinderFrame, m_service.restingForm());
            if (const auto way = std::exchange(m_service.m_wantedReading, std::nullopt))
                m_service.readContext(*way);
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

      private:
        CommandBarService& m_service;
    };

    /// The files that were dropped, and their folder; absent when there are none.
    [[nodiscard]] std::optional<FinderContext> droppedContext() const;
    /// Hands the folder and the files that a command acts on now to `then`, unless the bar has turned to something else
    /// by then.
    void withContext(std::function<void(const FinderContext& context)> then);
    enum class Reading { byLooking, byAllMeans };
    /// Has the line about the context and the chips follow what is selected now, as far as that can be had. Asks at the
    /// end of the turn.
    void refreshContext(Reading way);
    void readContext(Reading way);
    void showContext(const FinderContext& context, bool isSelectionKnown = true);
    void selectInFinder(std::vector<FileURL> files);
    void keyWindowChanged(bool isKey);
    void placeUnder(const Rect& frame, BarForm form);
    /// The form of a bar that is placed without being opened.
    [[nodiscard]] BarForm restingForm() const { return m_state.isKeyWindow ? BarForm::expanded : BarForm::compact; }
    void browseHistory(int index);
    void saveOperations();
    /// Whether a command or an undo is at the files.
    [[nodiscard]] bool isBusy() const { return m_state.isRunning || !m_undos.empty(); }
    void resetState();
    /// What resetting, hiding and their like have in common: whatever is under way no longer concerns the bar.
    void abandonWork();
    /// Empties the docked bar and gives the file manager the keyboard, or hides the bar.
    void dismiss();
    void scheduleDismiss(std::chrono::milliseconds delay);
    /// The bar is wanted: no clock dismisses it.
    void stay();

    void show(std::string text, StatusKind kind);
    void showFailure(std::string message);
    void beginToken();
    /// Does `work`, which may block, on another thread and hands what it returns to `then` on the main thread, unless
    /// the bar has turned to something else by then.
    template <typename Work, typename Then>
    void runBeside(Work work, Then then);
    /// The same for what asks the file manager or the clipboard.
    template <typename Work, typename Then>
    void askDesktop(Work work, Then then);
    /// An action on the main thread, unless the controller is gone.
    using OnMain = std::function<void(std::function<void()> action)>;
    [[nodiscard]] OnMain onMain();
    /// The same, unless the bar has turned to something else.
    [[nodiscard]] OnMain onMainWhileCurrent();

    /// Begins an entry of the command log.
    void logPlan(std::string_view route, std::string_view input, const FinderContext& context, Json extra);
    void logModelPlan(std::string_view route, std::string_view input, const FinderContext& context);
    void logOutcome(std::string_view outcome, std::string_view detail = "");
    void logOutcome(const std::optional<UUID>& id, const RunOutcome& outcome);

    void plan(const std::string& command, const FinderContext& context);
    void startLLMPlan(const std::string& text, const FinderContext& context);
    void finishLLMPlan(const std::expected<Action, LLMPlanError>& answer, const FinderContext& context,
                       const std::string& baseURL);
    /// `rows`: the renames that the user saw and confirmed.
    void dispatch(const Action& action, const FinderContext& context, Consent consent,
                  std::vector<PreviewRow> rows = {});
    void startPreview(const Shell& shell, const FinderContext& context);
    void finishPreview(const Shell& shell, const FinderContext& context,
                       std::expected<std::vector<PreviewRow>, PreviewFailure> preview);
    /// Lists the files that the command will touch instead of a preview.
    void showFilesInstead(const Shell& shell, const FinderContext& context, std::string_view reason);
    void awaitConfirmation(PendingAction pending, std::string prompt);
    void beginRunning(const Action& action, const FinderContext& context, Consent consent,
                      std::vector<PreviewRow> rows);
    /// An action under way, and what the bar's state was about when it was begun.
    struct Run {
        Action action;
        FinderContext context;
        std::uint64_t token = 0;
        std::optional<UUID> logID;
        std::stop_token stop;
        /// Set when the user ended it by Esc.
        std::shared_ptr<bool> isCancelled = std::make_shared<bool>(false);
    };
    struct FinishedRun {
        RunOutcome outcome;
        std::vector<Operation::Rename> renames;
    };
    void finishRun(const Run& run, FinishedRun finished);
    /// The bar was hidden or emptied while this ran and shows nothing of it. What it did to the files is on record all
    /// the same, and whoever has moved away is told.
    void finishLeftRun(const Run& run, FinishedRun finished);
    void handle(const RunOutcome& outcome, const Action& action, const FinderContext& context,
                std::vector<Operation::Rename> renames = {});
    void handleCompleted(const Completed& completed, const Action& action, const FinderContext& context,
                         std::vector<Operation::Rename> renames);
    void notifyIfBackgrounded(std::string_view message);

    /// The new record, if the run created or renamed files.
    std::optional<UUID> recordOperation(const Action& action, const FinderContext& context, const Completed& completed,
                                        std::vector<Operation::Rename> renames);
    struct Undo {
        Operation operation;
        /// Set on the disk's queue.
        std::optional<std::expected<Reverted, std::string>> outcome;
    };
    void showUndoing();
    void finishUndo(const std::shared_ptr<Undo>& undo);
    void markUndone(const UUID& operation);
    /// Waits for the undos that are under way.
    void finishUndos();

    CommandBarServices m_services;
    CommandBarState m_state;
    Observers m_observers;
    int m_turns = 0;

    /// Goes up whenever the bar turns to something new or abandons what is under way: a result that comes with another
    /// number is dropped.
    std::uint64_t m_requestToken = 0;
    /// Expires with the controller.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    std::optional<Reading> m_wantedReading;
    /// How often the context was asked for: only the last answer counts.
    std::shared_ptr<std::atomic<std::uint64_t>> m_contextReads = std::make_shared<std::atomic<std::uint64_t>>();
    /// Ends the runs that were started, also those that the bar has turned away from.
    std::stop_source m_runs;
    /// Of the run that the bar shows, or showed last.
    std::shared_ptr<bool> m_isShownRunCancelled;
    /// Ends the request to the model that is under way.
    std::stop_source m_modelRequest;
    std::unique_ptr<ScheduledTask> m_dismissal;

    std::optional<Rect> m_lastFinderFrame;
    /// The window that the docked bar was last seen under.
    std::optional<AccessibilityElement> m_lastFinderWindow;
    /// The panel's height when it was placed and given the keyboard, both at once; until the end of that turn.
    std::optional<double> m_openedHeight;
    std::optional<std::vector<FileURL>> m_droppedSelection;
    HistoryStore m_history;
    /// Which entry of the history the field shows; -1 while it shows none.
    int m_historyIndex = -1;
    /// What was in the field before the history was browsed.
    std::string m_stashedInput;

    /// The last command submitted, rules applied, and where.
    std::string m_lastInput;
    FinderContext m_lastContext;
    std::string m_lastError;
    std::optional<UUID> m_currentLogID;
    /// The record of the last run whose outcome was shown.
    std::optional<UUID> m_lastOperationID;
    /// Those under way, in the order of their end.
    std::vector<std::shared_ptr<Undo>> m_undos;
    std::unique_ptr<ScheduledTask> m_undoNotice;
    /// Whether the bar may go when an undo has ended; it stays for whoever did something with it since.
    bool m_undoDismisses = false;
};

} // namespace torvo
