#include "tests/support/ConfinedRun.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

namespace torvo::testing {

namespace {

struct Child {
    const char* folder;
    char* const* arguments;
    char* const* environment;
    int output;
    int errors;
    const PreparedConfinement* confinement;
};

/// In a function of its own: the child of a vfork must not touch the caller's variables.
[[gnu::noinline]] pid_t start(const Child& child) {
    const pid_t pid = ::vfork();
    if (pid != 0)
        return pid;
    const int input = ::open("/dev/null", O_RDONLY);
    const bool ready = input >= 0 && ::setpgid(0, 0) == 0 && ::dup2(input, 0) >= 0 && ::dup2(child.output, 1) >= 0 &&
                       ::dup2(child.errors, 2) >= 0 && ::chdir(child.folder) == 0;
    // The vfork child of a program that ignores SIGPIPE would hand that on.
    ::signal(SIGPIPE, SIG_DFL);
    if (ready && (child.confinement == nullptr || child.confinement->apply() == 0))
        ::execve("/bin/zsh", child.arguments, child.environment);
    ::_exit(127);
}

std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ShellOutcome runShell(const ShellRun& run, int seconds) {
    std::vector<std::string> arguments{"/bin/zsh", "-c", run.command, "torvo"};
    arguments.insert(arguments.end(), run.arguments.begin(), run.arguments.end());
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry)
        environment.emplace_back(*entry);
    if (run.confinement != nullptr)
        environment = run.confinement->environment(std::move(environment));

    std::array<int, 2> output{};
    std::array<int, 2> errors{};
    if (::pipe2(output.data(), O_CLOEXEC) != 0 || ::pipe2(errors.data(), O_CLOEXEC) != 0)
        return {};
    const std::vector<char*> argumentPointers = pointersTo(arguments);
    const std::vector<char*> environmentPointers = pointersTo(environment);
    const pid_t pid = start({run.folder.c_str(), argumentPointers.data(), environmentPointers.data(), output[1],
                             errors[1], run.confinement});
    ::close(output[1]);
    ::close(errors[1]);

    ShellOutcome outcome;
    const int ended = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    std::array<pollfd, 3> watched{{{output[0], POLLIN, 0}, {errors[0], POLLIN, 0}, {ended, POLLIN, 0}}};
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::array<char, 65536> buffer;
    while (watched[0].fd >= 0 || watched[1].fd >= 0 || watched[2].fd >= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const int count = left.count() > 0 ? ::poll(watched.data(), watched.size(), static_cast<int>(left.count())) : 0;
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            ::kill(-pid, SIGKILL);
            break;
        }
        if (watched[2].revents != 0) {
            // The leader has ended and is not reaped, so its group number cannot be anybody else's yet.
            ::kill(-pid, SIGKILL);
            watched[2].fd = -1;
        }
        for (const std::size_t stream : {0, 1}) {
            if (watched[stream].fd < 0 || watched[stream].revents == 0)
                continue;
            const ssize_t length = ::read(watched[stream].fd, buffer.data(), buffer.size());
            if (length > 0)
                (stream == 0 ? outcome.output : outcome.errors).append(buffer.data(), static_cast<std::size_t>(length));
            else if (length == 0 || errno != EINTR)
                watched[stream].fd = -1;
        }
    }
    int status = -1;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    for (const int descriptor : {output[0], errors[0], ended})
        ::close(descriptor);
    return outcome;
}

} // namespace torvo::testing
