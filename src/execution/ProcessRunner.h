#pragma once

#include "execution/CapturedOutput.h"
#include "execution/ProcessTree.h"
#include "platform/ProcessHost.h"
#include "support/Descriptor.h"
#include "support/FileURL.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

struct ProcessRequest {
    std::string executable;
    std::vector<std::string> arguments;
    /// Absent: the folder that this process is in.
    std::optional<FileURL> workingFolder;
    Confinement confinement = Confinement::none;
};

struct ProcessResult {
    /// The exit status; 128 plus the signal for a child that a signal ended; -1 for one that never started.
    std::int32_t status = -1;
    CapturedOutput standardOutput;
    CapturedOutput standardError;
    /// Nothing ran, because the confinement that was asked for cannot be set up here.
    bool confinementUnavailable = false;
};

/// Runs one child process at a time, collects both of its output streams and can stop it with everything it started.
class ProcessRunner {
  public:
    explicit ProcessRunner(ProcessHost& host);

    /// Runs a child to its end and returns what it said; blocks the calling thread. Its environment is this process's
    /// own with the search path of `childPath`. The run ends when the child has ended and both of its streams are
    /// closed, also by those who inherited them. A run that could not start, or whose output could not be held in
    /// memory, has the status -1 and one line of explanation as its standard error.
    [[nodiscard]] ProcessResult run(const ProcessRequest& request);

    /// Asks the running child, if any, to stop, with its whole tree: SIGTERM at once, SIGKILL after a second for those
    /// that are still there. Returns at once; `run` returns when the tree is gone. Callable from any thread.
    void cancel();
    [[nodiscard]] bool isCancelled() const;
    /// Forgets an earlier cancel. To be called when an action starts.
    void clearCancelled();

  private:
    /// Whether somebody has taken on asking the present child to stop.
    enum class Asking {
        nobody,
        /// A thread is sending signals; until it is done the child must keep its number.
        underWay,
        done,
    };

    /// Asks the present child, if any, to stop, unless that was done before.
    void stopChild();
    [[nodiscard]] std::optional<TreeStop> takeStop();

    ProcessHost& m_host;
    /// Wakes the thread in `run` when a stop was begun (eventfd(2)).
    Descriptor m_wake;

    mutable std::mutex m_lock;
    bool m_isCancelled = false;
    /// The child from just after its start until just before it is reaped.
    std::optional<ProcessIdentity> m_child;
    Asking m_asking = Asking::nobody;
    std::condition_variable m_askingEnded;
    /// The stop that was begun, on its way to the thread in `run`.
    std::optional<TreeStop> m_stop;
};

/// The search path that children get: the two Homebrew folders before the inherited one, or before the system's four
/// when there is none to inherit. Nothing is reordered.
[[nodiscard]] std::string childPath(const std::optional<std::string>& inherited);

/// This process's environment as NAME=value strings.
[[nodiscard]] std::vector<std::string> ownEnvironment();

/// The environment that children get: `inherited` (NAME=value strings) with nothing but PATH changed as in `childPath`.
[[nodiscard]] std::vector<std::string> childEnvironment(std::vector<std::string> inherited);

} // namespace torvo
