#pragma once

#include "execution/ImageConversion.h"
#include "execution/ProcessRunner.h"
#include "execution/RunOutcome.h"
#include "model/Action.h"
#include "model/FinderContext.h"
#include "model/Selecting.h"

#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Whether the user said yes to the action.
enum class Consent { none, given };

/// The direct children of a folder.
using FolderLister = std::function<std::vector<FileURL>(const FileURL& folder)>;

/// The direct children of `folder` as the file system lists them, without hidden ones; empty when it cannot be read.
[[nodiscard]] std::vector<FileURL> defaultLister(const FileURL& folder);

/// The items that `spec` takes, in their order.
[[nodiscard]] std::vector<FileURL> resolveSelection(const SelectionSpec& spec, const std::vector<FileURL>& items);

/// The existing files that a command's output names, one a line, absolute or relative to `folder`. Lines are bytes.
[[nodiscard]] std::vector<FileURL> resolvePaths(std::string_view output, const FileURL& folder,
                                                const std::function<bool(const FileURL&)>& exists = &FileURL::exists);

/// What an action still needs before it may run: nothing (absent), the user's yes, or something that is missing. A pure
/// decision. `canConfine`: whether an unconfirmed listing would run inside the sandbox; where it would not, it needs a
/// yes however harmless it reads.
[[nodiscard]] std::optional<RunOutcome> gate(const Action& action, const FinderContext& context, Consent consent,
                                             bool canConfine);

/// Where the runner finds and leaves things on this machine.
struct RunnerEnvironment {
    ConversionTools tools;
    /// The user's application-support folder, which holds the folder "Torvo" with the failure log.
    FileURL applicationSupport;
};

/// Carries out actions. One at a time: a second one that is asked for meanwhile waits for its turn. Callable from any
/// thread.
class ActionRunner {
  public:
    /// `selector` and `host` must outlive the runner.
    ActionRunner(Selecting& selector, ProcessHost& host, RunnerEnvironment environment,
                 FolderLister listContents = defaultLister);

    /// Runs an action to its end; blocks the calling thread. The gate is the caller's business. A stop, also one that
    /// came before, ends the run with everything that it started; an earlier `cancelCurrent` is forgotten.
    RunOutcome execute(const Action& action, const FinderContext& context, const ProgressCallback& progress,
                       Consent consent, const std::stop_token& stop = {});

    /// One line that says what the action would do here.
    [[nodiscard]] std::string summary(const Action& action, const FinderContext& context) const;

    RunOutcome runSelect(const SelectionSpec& spec, const FinderContext& context);
    RunOutcome runConvert(std::string_view toExt, const FinderContext& context, const ProgressCallback& progress);
    RunOutcome runZip(const FinderContext& context, const ProgressCallback& progress);
    RunOutcome runShell(const Shell& shell, const FinderContext& context);
    /// Without consent the command runs confined to reading. Where that is impossible, or the command's text does not
    /// read as harmless, nothing runs and the answer is `NeedsConfirmation`.
    RunOutcome runSelectByCommand(const SelectByCommand& select, const FinderContext& context, Consent consent);

    /// Runs a command confined to reading, for its output alone. The working folder is the selection's, else the
    /// context's, else `home`.
    [[nodiscard]] ProcessResult readonlyOutput(std::string_view command, const FinderContext& context,
                                               const FileURL& home, const std::stop_token& stop = {});

    /// Asks the running action to stop. Returns at once.
    void cancelCurrent() { m_processes.cancel(); }

  private:
    RunOutcome perform(const Action& action, const FinderContext& context, const ProgressCallback& progress,
                       Consent consent);
    void logFailed(std::string_view command, const ProcessResult& result) const;

    Selecting& m_selector;
    RunnerEnvironment m_environment;
    FolderLister m_listContents;
    ProcessRunner m_processes;
    /// Held by the run whose turn it is.
    std::mutex m_turn;
};

} // namespace torvo
