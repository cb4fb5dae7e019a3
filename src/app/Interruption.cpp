#include "app/Interruption.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>

namespace torvo {

namespace {

sigset_t endingSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        // Whoever started us with a signal ignored (nohup(1), a shell's background job) means it.
        struct sigaction present{};
        if (::sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

/// Requests a stop at each signal, until `end` turns readable.
void watch(int signals, int end, const std::stop_source& source) {
    std::array<pollfd, 2> polled{{{signals, POLLIN, 0}, {end, POLLIN, 0}}};
    while (::poll(polled.data(), polled.size(), -1) >= 0 || errno == EINTR) {
        if (polled[1].revents != 0)
            return;
        signalfd_siginfo received{};
        if (polled[0].revents != 0 && ::read(signals, &received, sizeof received) == sizeof received)
            source.request_stop();
    }
}

} // namespace

Interruption::Interruption() {
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signals = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
    m_end = Descriptor(::eventfd(0, EFD_CLOEXEC));
    m_thread = std::jthread(watch, m_signals.get(), m_end.get(), m_source);
}

Interruption::~Interruption() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(m_end.get(), &one, sizeof one);
    m_thread.join();
}

} // namespace torvo
