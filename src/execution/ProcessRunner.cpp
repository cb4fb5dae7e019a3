#include "execution/ProcessRunner.h"

#include "execution/ChildFollower.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <string_view>
#include <utility>

namespace torvo {

namespace {

constexpr std::string_view kPathVariable = "PATH=";

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

ProcessResult notRun(std::string_view explanation) {
    return {.status = -1, .standardOutput = {}, .standardError = CapturedOutput(explanation)};
}

} // namespace

std::string childPath(const std::optional<std::string>& inherited) {
    return "/opt/homebrew/bin:/usr/local/bin:" + inherited.value_or("/usr/bin:/bin:/usr/sbin:/sbin");
}

std::vector<std::string> ownEnvironment() {
    std::vector<std::string> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
        variables.emplace_back(*variable);
    return variables;
}

std::vector<std::string> childEnvironment(std::vector<std::string> inherited) {
    const auto isPath = [](const std::string& variable) { return variable.starts_with(kPathVariable); };
    const auto found = std::ranges::find_if(inherited, isPath);
    if (found == inherited.end()) {
        inherited.push_back(std::string(kPathVariable) + childPath(std::nullopt));
        return inherited;
    }
    *found = std::string(kPathVariable) + childPath(found->substr(kPathVariable.size()));
    // A second PATH, which getenv(3) never sees, must not win in a child that reads the last one.
    inherited.erase(std::remove_if(found + 1, inherited.end(), isPath), inherited.end());
    return inherited;
}

ProcessRunner::ProcessRunner(ProcessHost& host) : m_host(host), m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ProcessResult ProcessRunner::run(const ProcessRequest& request) {
    Pipe output = makePipe();
    Pipe error = makePipe();
    if (!output.readEnd.isOpen() || !error.readEnd.isOpen())
        return notRun(fmt::format("cannot collect the output of {}: {}", request.executable, ::strerrordesc_np(errno)));
    {
        const std::scoped_lock lock(m_lock);
        if (m_isCancelled)
            return notRun("cancelled");
    }

    const auto launched = m_host.launch(
        {.executable = request.executable,
         .arguments = request.arguments,
         .environment = childEnvironment(ownEnvironment()),
         .workingFolder = request.workingFolder ? std::optional(request.workingFolder->path()) : std::nullopt,
         .confinement = request.confinement,
         .standardOutput = output.writeEnd.get(),
         .standardError = error.writeEnd.get()});
    if (!launched) {
        ProcessResult result = notRun(launched.error().description);
        result.confinementUnavailable = launched.error().confinementUnavailable;
        return result;
    }
    output.writeEnd.reset();
    error.writeEnd.reset();

    const auto child = m_host.identity(*launched).value_or(ProcessIdentity{.pid = *launched});
    bool wasCancelledMeanwhile = false;
    {
        const std::scoped_lock lock(m_lock);
        m_child = child;
        m_asking = Asking::nobody;
        m_stop.reset();
        wasCancelledMeanwhile = m_isCancelled;
    }
    if (wasCancelledMeanwhile)
        stopChild();

    ChildFollower follower(m_host, child, {std::move(output.readEnd), std::move(error.readEnd)}, m_wake.get(),
                           [this] { return takeStop(); });
    for (bool isOver = false; !isOver;) {
        follower.follow();
        std::unique_lock lock(m_lock);
        m_askingEnded.wait(lock, [this] { return m_asking != Asking::underWay; });
        isOver = !m_stop;
        if (isOver)
            m_child.reset();
    }

    // Waiting for a child that even a kill did not end would hang; its number stays taken until this process ends.
    const std::int32_t status = follower.hasEnded() ? m_host.reap(child.pid) : 128 + SIGKILL;
    if (follower.ranOutOfMemory())
        return notRun(fmt::format("not enough memory for the output of {}", request.executable));
    return {.status = status, .standardOutput = follower.takeOutput(), .standardError = follower.takeError()};
}

void ProcessRunner::cancel() {
    {
        const std::scoped_lock lock(m_lock);
        m_isCancelled = true;
    }
    stopChild();
}

bool ProcessRunner::isCancelled() const {
    const std::scoped_lock lock(m_lock);
    return m_isCancelled;
}

void ProcessRunner::clearCancelled() {
    const std::scoped_lock lock(m_lock);
    m_isCancelled = false;
}

void ProcessRunner::stopChild() {
    std::optional<TreeStop> stop;
    {
        const std::scoped_lock lock(m_lock);
        if (!m_child || m_asking != Asking::nobody)
            return;
        m_asking = Asking::underWay;
        stop.emplace(m_host, *m_child);
    }
    stop->terminateTree();
    {
        const std::scoped_lock lock(m_lock);
        m_stop = std::move(stop);
        m_asking = Asking::done;
    }
    m_askingEnded.notify_all();
    const std::uint64_t wake = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(m_wake.get(), &wake, sizeof wake);
}

std::optional<TreeStop> ProcessRunner::takeStop() {
    const std::scoped_lock lock(m_lock);
    return std::exchange(m_stop, std::nullopt);
}

} // namespace torvo
