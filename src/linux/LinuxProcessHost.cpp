#include "linux/LinuxProcessHost.h"

#include "linux/ChildLauncher.h"
#include "linux/ProcessTable.h"
#include "support/Descriptor.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

namespace torvo {

namespace {

int numberOf(StopSignal signal) {
    switch (signal) {
    case StopSignal::terminate:
        return SIGTERM;
    case StopSignal::kill:
        return SIGKILL;
    case StopSignal::suspend:
        return SIGSTOP;
    case StopSignal::resume:
        return SIGCONT;
    }
    return SIGKILL;
}

ProcessIdentity identityOf(std::int32_t pid, std::uint64_t startTicks) {
    static const auto ticksPerSecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    return {pid, startTicks / ticksPerSecond, startTicks % ticksPerSecond * 1'000'000 / ticksPerSecond};
}

} // namespace

std::expected<std::int32_t, LaunchError> LinuxProcessHost::launch(const LaunchRequest& request) {
    if (request.confinement == Confinement::none)
        return launchChild(request, nullptr);

    const auto unavailable = [](std::string description) {
        return std::unexpected(LaunchError{.description = std::move(description), .confinementUnavailable = true});
    };
    if (!canConfine())
        return unavailable("this machine cannot confine a command");
    auto confinement = PreparedConfinement::prepare();
    if (!confinement)
        return unavailable(confinement.error());
    LaunchRequest confined = request;
    confined.environment = confinement->environment(std::move(confined.environment));
    const auto child = launchChild(confined, &*confinement);
    if (child) {
        const std::scoped_lock lock(m_mutex);
        m_confined.emplace(*child, std::move(*confinement));
    }
    return child;
}

bool LinuxProcessHost::canConfine() {
    return confinementWorks();
}

void LinuxProcessHost::childHasEnded(std::int32_t child) {
    const std::scoped_lock lock(m_mutex);
    // Nothing that a confined child started may outlive it. Its group is complete: none can leave it.
    if (m_confined.contains(child))
        signalGroup(child, StopSignal::kill);
}

int LinuxProcessHost::exitNotice(std::int32_t child) {
    return static_cast<int>(::syscall(SYS_pidfd_open, child, 0U));
}

std::int32_t LinuxProcessHost::reap(std::int32_t child) {
    // Taken out while the child still holds its number, which may be another child's right after.
    const auto confinement = [&] {
        const std::scoped_lock lock(m_mutex);
        return m_confined.extract(child);
    }();
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::optional<ProcessIdentity> LinuxProcessHost::identity(std::int32_t pid) {
    const auto status = process_table::status(pid);
    if (!status)
        return std::nullopt;
    return identityOf(pid, status->startTicks);
}

bool LinuxProcessHost::hasEnded(const ProcessIdentity& process) {
    const auto status = process_table::status(process.pid);
    return !status || status->isZombie() || identityOf(process.pid, status->startTicks) != process;
}

std::vector<std::int32_t> LinuxProcessHost::children(std::int32_t pid) {
    return process_table::children(pid);
}

std::vector<ProcessIdentity> LinuxProcessHost::holders(std::span<const int> pipes) {
    std::vector<ProcessIdentity> found;
    for (const std::int32_t pid : process_table::holders(pipes)) {
        // A child that another thread is starting has all pipes open until it becomes its program.
        const auto status = process_table::status(pid);
        if (status && !(status->parent == ::getpid() && process_table::runsSameProgram(pid)))
            found.push_back(identityOf(pid, status->startTicks));
    }
    return found;
}

void LinuxProcessHost::signal(const ProcessIdentity& process, StopSignal signal) {
    // The descriptor holds on to whoever has the number now; who that is shows only afterwards, and then for good.
    const Descriptor target(exitNotice(process.pid));
    if (identity(process.pid) != process)
        return;
    if (target.isOpen())
        ::syscall(SYS_pidfd_send_signal, target.get(), numberOf(signal), nullptr, 0U);
    else
        ::kill(process.pid, numberOf(signal));
}

void LinuxProcessHost::signalGroup(std::int32_t child, StopSignal signal) {
    ::kill(-child, numberOf(signal));
}

} // namespace torvo
