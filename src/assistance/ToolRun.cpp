#include "assistance/ToolRun.h"

#include "execution/ProcessRunner.h"
#include "support/AtomicFile.h"
#include "support/Descriptor.h"
#include "support/Text.h"
#include "support/Utf8.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// How long a program that was asked to end may take.
constexpr auto kPatience = 1000ms;
/// How long the streams of a program that has ended may stay open before they are no longer read.
constexpr auto kLastWords = 200ms;
/// How often the clock, and the kernel for what it gives no notice of, are looked at.
constexpr int kPollMilliseconds = 10;

/// Takes in what is there; closes the pipe at its end.
void readSome(Descriptor& pipe, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t count = ::read(pipe.get(), buffer.data(), buffer.size());
    if (count > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    else if (count == 0 || errno != EINTR)
        pipe.reset();
}

/// Reads what a child says until it has ended, unreaped still. `wake` turns readable with the stop.
void follow(ProcessHost& host, std::int32_t child, Descriptor pipe, int wake, const std::stop_token& stop,
            std::string& text) {
    const auto identity = host.identity(child).value_or(ProcessIdentity{.pid = child});
    const Descriptor exitNotice(host.exitNotice(child));
    bool isStopped = false;
    bool hasEnded = false;
    /// When patience is over: with the program after a stop, with its streams after its end.
    std::optional<Clock::time_point> due;
    while (true) {
        const auto now = Clock::now();
        if (!isStopped && stop.stop_requested()) {
            isStopped = true;
            due = now + kPatience;
            host.signalGroup(child, StopSignal::terminate);
        }
        if (hasEnded && (isStopped || !pipe.isOpen() || now >= due))
            break;
        if (isStopped && now >= due)
            host.signalGroup(child, StopSignal::kill);
        enum { output, notice, woken, count };
        std::array<pollfd, count> polled{};
        polled[output] = {pipe.get(), POLLIN, 0};
        polled[notice] = {hasEnded ? -1 : exitNotice.get(), POLLIN, 0};
        polled[woken] = {isStopped ? -1 : wake, POLLIN, 0};
        const bool isNotified = exitNotice.isOpen() && wake >= 0 && !due;
        ::poll(polled.data(), polled.size(), isNotified ? -1 : kPollMilliseconds);
        if (polled[output].revents != 0)
            readSome(pipe, text);
        if (hasEnded)
            continue;
        hasEnded = exitNotice.isOpen() ? polled[notice].revents != 0 : host.hasEnded(identity);
        if (hasEnded && !isStopped)
            due = Clock::now() + kLastWords;
    }
    host.childHasEnded(child);
    if (isStopped)
        host.signalGroup(child, StopSignal::kill);
}

} // namespace

std::string ToolRun::reason() const {
    const auto lines = isValidUTF8(output) ? splitLines(output) : std::vector<std::string_view>{};
    return lines.empty() ? fmt::format("exit {}", status) : std::string(lines.back());
}

std::expected<ToolRun, std::string> runTool(ProcessHost& host, const std::string& executable,
                                            const std::vector<std::string>& arguments, const std::stop_token& stop) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::unexpected(systemErrorText(errno));
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    const auto child = host.launch({.executable = executable,
                                    .arguments = arguments,
                                    .environment = ownEnvironment(),
                                    .standardOutput = writeEnd.get(),
                                    .standardError = writeEnd.get()});
    if (!child)
        return std::unexpected(child.error().description);
    writeEnd.reset();
    const Descriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const std::stop_callback onStop(stop, [&] {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t ignored = ::write(wake.get(), &one, sizeof one);
    });
    ToolRun run;
    follow(host, *child, std::move(readEnd), wake.get(), stop, run.output);
    run.status = host.reap(*child);
    return run;
}

} // namespace torvo
