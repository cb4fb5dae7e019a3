#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace torvo {

/// What a child process may do to the machine.
enum class Confinement {
    /// Everything that the user may do.
    none,
    /// Read and compute, but change nothing outside its own memory: for commands that run before the user said yes.
    readOnly,
};

/// Names one process for good: a process number that is used again later has another start time.
struct ProcessIdentity {
    std::int32_t pid = 0;
    /// Start time of the process since boot, as the kernel reports it.
    std::uint64_t startSeconds = 0;
    std::uint64_t startMicroseconds = 0;

    bool operator==(const ProcessIdentity&) const = default;
};

/// Everything a child starts with. Standard input is the null device; no other descriptor is inherited.
struct LaunchRequest {
    std::string executable;
    /// The arguments after the program's own name.
    std::vector<std::string> arguments;
    /// NAME=value strings, in order.
    std::vector<std::string> environment;
    /// Absent: the folder that this process is in.
    std::optional<std::string> workingFolder;
    Confinement confinement = Confinement::none;
    /// Write ends that become the child's standard output and standard error. They stay the caller's.
    int standardOutput = -1;
    int standardError = -1;
};

struct LaunchError {
    /// One line for the user: what could not be started, and why.
    std::string description;
    /// The child was to be confined and the confinement could not be set up; nothing ran.
    bool confinementUnavailable = false;
};

enum class StopSignal {
    /// Asks the process to end; it may clean up first, or refuse.
    terminate,
    /// Ends the process; it has no say.
    kill,
    /// Holds the process where it is, and lets it go on. It has no say in either.
    suspend,
    resume,
};

/// The kernel's processes: starting, naming, signalling and reaping them. Safe to call from any thread.
class ProcessHost {
  public:
    virtual ~ProcessHost() = default;

    /// Starts a child as the leader of a process group of its own and returns its process number, which stays the
    /// child's until `reap`.
    [[nodiscard]] virtual std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) = 0;
    /// Whether `Confinement::readOnly` can be set up on this machine. Found out once.
    [[nodiscard]] virtual bool canConfine() = 0;
    /// To be told once that a child was seen to have ended, before it is reaped: whatever a confined child left running
    /// is ended then.
    virtual void childHasEnded(std::int32_t child) = 0;
    /// A new descriptor, the caller's to close, that polls readable once the child has ended; -1 when there is none to
    /// be had, then `hasEnded` must be asked from time to time.
    [[nodiscard]] virtual int exitNotice(std::int32_t child) = 0;
    /// Waits for the child to end, frees its process number and returns its exit status: 128 plus the signal for one
    /// that a signal ended.
    [[nodiscard]] virtual std::int32_t reap(std::int32_t child) = 0;

    /// The identity of the process that has this number now (it may have ended, if nobody has reaped it yet); absent
    /// when there is none.
    [[nodiscard]] virtual std::optional<ProcessIdentity> identity(std::int32_t pid) = 0;
    /// Whether the process is gone or only waits to be reaped.
    [[nodiscard]] virtual bool hasEnded(const ProcessIdentity& process) = 0;
    /// The direct children of a process, in the kernel's order; empty when there are none or no such process.
    [[nodiscard]] virtual std::vector<std::int32_t> children(std::int32_t pid) = 0;
    /// The processes that hold one of these pipes open, except this process and what it is just starting.
    [[nodiscard]] virtual std::vector<ProcessIdentity> holders(std::span<const int> pipes) = 0;

    /// Signals exactly this process; another one that has its number by now is left alone.
    virtual void signal(const ProcessIdentity& process, StopSignal signal) = 0;
    /// Signals every process in the group that a child leads which is not reaped yet.
    virtual void signalGroup(std::int32_t child, StopSignal signal) = 0;
};

} // namespace torvo
