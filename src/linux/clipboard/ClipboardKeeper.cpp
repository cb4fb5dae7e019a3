#include "linux/clipboard/ClipboardKeeper.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <utility>
#include <vector>

namespace torvo {

namespace {

using std::chrono::steady_clock;

/// How long an owner may take to hand over what is to be put back later.
constexpr auto kSaveTime = std::chrono::seconds(1);
/// How long a process of its own waits for what is owed to it.
constexpr auto kOwedTime = std::chrono::minutes(1);

/// Closes all files of the process but the standard ones, which lead nowhere from now on, and these.
void closeOthers(std::vector<int> kept) {
    const int nowhere = ::open("/dev/null", O_RDWR);
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nowhere, each);
    std::ranges::sort(kept);
    unsigned int next = STDERR_FILENO + 1;
    for (const int each : kept) {
        if (each < static_cast<int>(next))
            continue;
        if (each > static_cast<int>(next))
            ::close_range(next, static_cast<unsigned int>(each) - 1, 0);
        next = static_cast<unsigned int>(each) + 1;
    }
    ::close_range(next, ~0U, 0);
}

/// Signals do what they do in a fresh program.
void restoreSignals() {
    for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        std::signal(each, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

ClipboardKeeper::~ClipboardKeeper() {
    stopWaiting();
}

void ClipboardKeeper::put(ClipboardContent content) {
    m_owner = std::make_unique<ClipboardOwner>(std::move(content), m_patience);
}

void ClipboardKeeper::keep(ClipboardContent content) {
    const bool isWaiting = m_thread.joinable();
    stopWaiting();
    put(std::move(content));
    if (isWaiting)
        endReading();
}

X11Clipboard* ClipboardKeeper::beginReading() {
    stopWaiting();
    if (m_clipboard != nullptr && m_clipboard->isLost())
        m_clipboard.reset();
    if (m_clipboard == nullptr) {
        m_clipboard = X11Clipboard::create();
        m_late.reset();
    }
    if (!isWaiting()) {
        m_late.reset();
        if (m_clipboard != nullptr)
            m_clipboard->watch();
    }
    return m_clipboard.get();
}

void ClipboardKeeper::endReading(std::optional<LateCopy> late) {
    if (late)
        m_late = std::move(late);
    if (!isWaiting() || m_clipboard == nullptr)
        return;
    m_stop = Descriptor(::eventfd(0, EFD_CLOEXEC));
    m_thread = std::jthread([this] { awaitLateCopies(m_stop.get()); });
}

void ClipboardKeeper::stopWaiting() {
    if (!m_thread.joinable())
        return;
    const std::uint64_t one = 1;
    (void)!::write(m_stop.get(), &one, sizeof one);
    m_thread.join();
}

void ClipboardKeeper::awaitLateCopies(int stop) {
    while (m_clipboard->isTaken(m_late->until, stop)) {
        const auto owner = m_clipboard->owner();
        if (owner == XCB_WINDOW_NONE || (m_owner && owner == m_owner->window()))
            continue;
        if (m_late->isIt(owner)) {
            put(m_late->before);
            continue;
        }
        // Now it is this that a late copy would take the place of.
        auto content = m_clipboard->readAll(steady_clock::now() + kSaveTime);
        if (!content) {
            m_late.reset();
            return;
        }
        m_late->before = *std::move(content);
    }
}

void ClipboardKeeper::leaveBehind() {
    stopWaiting();
    const bool isOwner = m_owner && m_owner->pause();
    if (!isOwner)
        m_owner.reset();
    if (!isOwner && !isWaiting() && (m_clipboard == nullptr || !m_clipboard->isOwed()))
        return;
    const auto child = ::fork();
    if (child == 0)
        goOnAlone(isOwner);
    if (child < 0)
        return;
    // Ending the connections properly would end them for the child as well.
    if (isOwner)
        m_owner->abandon();
    if (m_clipboard)
        m_clipboard->abandon();
    m_owner.reset();
    m_clipboard.reset();
    m_late.reset();
}

void ClipboardKeeper::goOnAlone(bool isOwner) {
    ::setsid();
    restoreSignals();
    auto kept = isOwner ? m_owner->descriptors() : std::vector<int>();
    if (m_clipboard)
        kept.push_back(m_clipboard->descriptor());
    closeOthers(std::move(kept));
    if (isOwner)
        m_owner->resume();
    if (isWaiting())
        awaitLateCopies(-1);
    if (m_clipboard)
        (void)m_clipboard->settle(steady_clock::now() + kOwedTime);
    if (m_owner)
        m_owner->join();
    ::_exit(0);
}

} // namespace torvo
