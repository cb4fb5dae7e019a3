#include "linux/ChildLauncher.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#ifdef __SANITIZE_THREAD__
// The same function under its other name: the thread sanitizer takes every clone(2) for a fork, with a copy of its
// state.
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);
#define clone __clone
#endif

namespace torvo {

namespace {

// The child runs on this process's memory while other threads go on: it may only make bare system calls. The C
// library's functions would touch its locks and caches, and the sanitizers' versions of them their own state.
#define TORVO_CHILD_SIDE __attribute__((no_sanitize("address", "undefined", "thread"), noinline))

enum class Step { redirect, workingFolder, confine, execute };

/// What the child needs, prepared by the parent, and where it writes why it failed.
struct ChildPlan {
    const char* executable = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    const char* workingFolder = nullptr;
    int standardOutput = -1;
    int standardError = -1;
    rlim_t descriptorLimit = 0;
    const PreparedConfinement* confinement = nullptr;

    Step failedStep = Step::redirect;
    int error = 0;
};

/// The kernel's own form of a signal's disposition (rt_sigaction(2)).
struct KernelSigaction {
    void (*handler)(int) = SIG_DFL;
    unsigned long flags = 0;
    void (*restorer)() = nullptr;
    std::uint64_t mask = 0;
};

TORVO_CHILD_SIDE bool redirect(const ChildPlan& plan) {
    // Away from 0 to 2 first, so that putting one stream in its place cannot close another.
    const long output = ::syscall(SYS_fcntl, plan.standardOutput, F_DUPFD, 3);
    const long error = ::syscall(SYS_fcntl, plan.standardError, F_DUPFD, 3);
    if (output < 0 || error < 0 || ::syscall(SYS_dup3, output, 1, 0) < 0 || ::syscall(SYS_dup3, error, 2, 0) < 0)
        return false;
    const long null = ::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDONLY, 0);
    if (null < 0 || (null != 0 && ::syscall(SYS_dup3, null, 0, 0) < 0))
        return false;
    // A confinement closes them itself, when it needs them no longer.
    if (plan.confinement == nullptr && ::syscall(SYS_close_range, 3U, ~0U, 0U) != 0)
        for (rlim_t descriptor = 3; descriptor < plan.descriptorLimit; ++descriptor)
            ::syscall(SYS_close, static_cast<int>(descriptor));
    return true;
}

TORVO_CHILD_SIDE void restoreSignals() {
    const KernelSigaction standard;
    for (int signal = 1; signal <= 64; ++signal)
        ::syscall(SYS_rt_sigaction, signal, &standard, nullptr, sizeof standard.mask);
    const std::uint64_t none = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, sizeof none);
}

TORVO_CHILD_SIDE int runChild(void* argument) {
    ChildPlan& plan = *static_cast<ChildPlan*>(argument);
    const auto fail = [&plan](Step step) __attribute__((no_sanitize("address", "undefined", "thread"))) {
        plan.failedStep = step;
        plan.error = errno;
        ::syscall(SYS_exit_group, 127);
        return 127;
    };
    ::syscall(SYS_setpgid, 0, 0);
    if (!redirect(plan))
        return fail(Step::redirect);
    if (plan.workingFolder != nullptr && ::syscall(SYS_chdir, plan.workingFolder) != 0)
        return fail(Step::workingFolder);
    restoreSignals();
    if (plan.confinement != nullptr) {
        // Nobody said yes to it, so it does not outlive who asked for it either (prctl(2)).
        ::syscall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
        if (const int error = plan.confinement->apply(); error != 0) {
            errno = error;
            return fail(Step::confine);
        }
    }
    ::syscall(SYS_execve, plan.executable, plan.arguments, plan.environment);
    return fail(Step::execute);
}

/// Runs the child on a piece of this function's own stack; returns when it has become the new program or failed.
__attribute__((no_sanitize("address"), noinline)) pid_t startSuspended(ChildPlan& plan) {
    alignas(16) std::array<char, std::size_t{32} << 10> stack;
    return ::clone(runChild, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &plan);
}

std::vector<char*> pointersTo(const std::string* first, const std::vector<std::string>& rest) {
    std::vector<char*> pointers;
    pointers.reserve(rest.size() + 2);
    if (first != nullptr)
        pointers.push_back(const_cast<char*>(first->c_str()));
    for (const std::string& text : rest)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

std::string describe(const ChildPlan& plan) {
    const char* const reason = ::strerrordesc_np(plan.error);
    const std::string why = reason == nullptr ? fmt::format("error {}", plan.error) : reason;
    switch (plan.failedStep) {
    case Step::workingFolder:
        return fmt::format("cannot work in the folder {}: {}", plan.workingFolder, why);
    case Step::execute:
        return fmt::format("{}: {}", plan.executable, why);
    case Step::confine:
        return fmt::format("cannot confine {}: {}", plan.executable, why);
    case Step::redirect:
        break;
    }
    return fmt::format("cannot connect the output of {}: {}", plan.executable, why);
}

} // namespace

std::expected<std::int32_t, LaunchError> launchChild(const LaunchRequest& request,
                                                     const PreparedConfinement* confinement) {
    const auto arguments = pointersTo(&request.executable, request.arguments);
    const auto environment = pointersTo(nullptr, request.environment);
    ChildPlan plan{.executable = request.executable.c_str(),
                   .arguments = arguments.data(),
                   .environment = environment.data(),
                   .workingFolder = request.workingFolder ? request.workingFolder->c_str() : nullptr,
                   .standardOutput = request.standardOutput,
                   .standardError = request.standardError,
                   .confinement = confinement};
    rlimit descriptors{};
    if (::getrlimit(RLIMIT_NOFILE, &descriptors) == 0)
        plan.descriptorLimit = descriptors.rlim_cur;

    // A signal that came now would run this process's handler in the child, on shared memory.
    sigset_t everySignal;
    sigset_t before;
    ::sigfillset(&everySignal);
    ::pthread_sigmask(SIG_BLOCK, &everySignal, &before);
    const pid_t pid = startSuspended(plan);
    const int startError = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

    if (pid < 0) {
        plan.failedStep = Step::execute;
        plan.error = startError;
        return std::unexpected(LaunchError{.description = describe(plan)});
    }
    if (plan.error != 0) {
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        return std::unexpected(
            LaunchError{.description = describe(plan), .confinementUnavailable = plan.failedStep == Step::confine});
    }
    return pid;
}

} // namespace torvo
