#include "app/Interruption.h"

#include <pthread.h>

#include <csignal>

namespace torvo {

namespace {

sigset_t endingSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGUSR1);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // Whoever started us with a signal ignored (nohup(1), a shell's background job) means it.
        struct sigaction present{};
        if (::sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

} // namespace

Interruption::Interruption() {
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_thread = std::jthread([source = m_source, signals]() mutable {
        int signal = 0;
        // SIGUSR1 comes from the destructor alone and ends the wait.
        while (::sigwait(&signals, &signal) == 0 && signal != SIGUSR1)
            source.request_stop();
    });
}

Interruption::~Interruption() {
    ::pthread_kill(m_thread.native_handle(), SIGUSR1);
    m_thread.join();
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

} // namespace torvo
