#include "execution/ChildFollower.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 1000ms;
/// How soon after asking the tree those are looked for that left it but hold a pipe open.
constexpr auto kFirstSweep = 100ms;
constexpr auto kSweepInterval = 50ms;
/// How long after the killing a pipe may stay open before it is no longer read.
constexpr auto kLastReads = 500ms;
/// How often the kernel is asked what it gives no notice of.
constexpr int kPollMilliseconds = 10;

constexpr std::size_t kPipeSize = std::size_t{64} << 10;
constexpr int kWidePipeSize = 1 << 20;

} // namespace

ChildFollower::ChildFollower(ProcessHost& host, const ProcessIdentity& child, Streams streams, int wake,
                             std::function<std::optional<TreeStop>()> takeStop)
    : m_host(host),
      m_child(child),
      m_exitNotice(host.exitNotice(child.pid)),
      m_wake(wake),
      m_takeStop(std::move(takeStop)) {
    m_streams[0].pipe = std::move(streams.output);
    m_streams[1].pipe = std::move(streams.error);
}

void ChildFollower::follow() {
    pursueStop();
    while (!isDone()) {
        waitForNews();
        pursueStop();
    }
}

bool ChildFollower::isDone() const {
    if (m_stop && m_stop->isKilling && Clock::now() >= m_stop->killTime + kLastReads)
        return true;
    return !hasOpenStream() && m_hasEnded && (!m_stop || m_stop->tree.isTreeGone());
}

bool ChildFollower::hasOpenStream() const {
    return std::ranges::any_of(m_streams, [](const Stream& stream) { return stream.pipe.isOpen(); });
}

int ChildFollower::timeout() const {
    const bool isNotified = m_wake >= 0 && (m_hasEnded || m_exitNotice.isOpen());
    return isNotified && !m_stop ? -1 : kPollMilliseconds;
}

void ChildFollower::waitForNews() {
    enum { output, error, exitNotice, wake, count };
    std::array<pollfd, count> polled{};
    polled[output] = {m_streams[0].pipe.get(), POLLIN, 0};
    polled[error] = {m_streams[1].pipe.get(), POLLIN, 0};
    polled[exitNotice] = {m_hasEnded ? -1 : m_exitNotice.get(), POLLIN, 0};
    polled[wake] = {m_wake, POLLIN, 0};
    if (::poll(polled.data(), polled.size(), timeout()) < 0)
        return;
    if (polled[wake].revents != 0) {
        std::uint64_t wakes = 0;
        [[maybe_unused]] const ssize_t ignored = ::read(m_wake, &wakes, sizeof wakes);
    }
    if (polled[output].revents != 0)
        read(m_streams[0]);
    if (polled[error].revents != 0)
        read(m_streams[1]);
    if (m_hasEnded)
        return;
    m_hasEnded = m_exitNotice.isOpen() ? polled[exitNotice].revents != 0 : m_host.hasEnded(m_child);
    if (m_hasEnded)
        m_host.childHasEnded(m_child.pid);
}

void ChildFollower::read(Stream& stream) {
    if (!stream.pipe.isOpen())
        return;
    const auto room = stream.content.buffer().prepare(kPipeSize);
    if (room.empty())
        return giveUpForMemory();
    const ssize_t count =
        ::read(stream.pipe.get(), room.data(), std::min(room.size(), static_cast<std::size_t>(kWidePipeSize)));
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0)
        return stream.pipe.reset();
    stream.content.buffer().commit(static_cast<std::size_t>(count));
    if (!stream.isWide && static_cast<std::size_t>(count) >= kPipeSize) {
        // The child has much to say: fewer, larger helpings. It is no loss when the kernel refuses.
        stream.isWide = true;
        ::fcntl(stream.pipe.get(), F_SETPIPE_SZ, kWidePipeSize);
    }
}

void ChildFollower::pursueStop() {
    auto begun = m_takeStop();
    if (!m_stop && !begun)
        return;
    const auto now = Clock::now();
    if (!m_stop)
        m_stop = Stop{.tree = std::move(*begun), .killTime = now + kPatience, .nextSweep = now + kFirstSweep};
    if (!m_stop->isKilling && now >= m_stop->killTime)
        m_stop->isKilling = true;
    else if (now < m_stop->nextSweep)
        return;
    if (hasOpenStream())
        m_stop->tree.terminateStrays(strays());
    if (m_stop->isKilling)
        m_stop->tree.killTree();
    m_stop->nextSweep = m_stop->isKilling ? now + kSweepInterval : m_stop->killTime;
}

void ChildFollower::giveUpForMemory() {
    m_ranOutOfMemory = true;
    const auto now = Clock::now();
    if (!m_stop) {
        m_stop = Stop{.tree = TreeStop(m_host, m_child)};
        m_stop->tree.terminateTree();
    }
    m_stop->tree.terminateStrays(strays());
    m_stop->killTime = m_stop->nextSweep = now;
    for (Stream& stream : m_streams) {
        stream.pipe.reset();
        stream.content = CapturedOutput();
    }
}

std::vector<ProcessIdentity> ChildFollower::strays() const {
    std::vector<int> pipes;
    for (const Stream& stream : m_streams)
        if (stream.pipe.isOpen())
            pipes.push_back(stream.pipe.get());
    return m_host.holders(pipes);
}

} // namespace torvo
