#include "app/bar/BarApplication.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <QEvent>
#include <QMetaEnum>
#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <string_view>
#include <utility>

namespace torvo {

BarApplication::BarApplication(int& count, char** values) : QApplication(count, values) {}

void BarApplication::watchTurns(const std::string& file) {
    m_report = Descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    m_schedule = Descriptor(::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC));
}

/// The file holds the time on a processor, the time in wait for one, both in nanoseconds, and a count (Linux,
/// Documentation/scheduler/sched-stats.rst).
std::optional<qint64> BarApplication::waitedTime() const {
    std::array<char, 96> text{};
    const auto length = ::pread(m_schedule.get(), text.data(), text.size(), 0);
    const std::string_view line(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const auto space = line.find(' ');
    qint64 waited = 0;
    if (space == std::string_view::npos ||
        std::from_chars(line.data() + space + 1, line.data() + line.size(), waited).ec != std::errc())
        return std::nullopt;
    return waited;
}

std::optional<BarApplication::Time> BarApplication::time() const {
    timespec busy{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &busy);
    for (auto waited = waitedTime(); waited;) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        // A wait between two readings would count for one of them alone.
        const auto before = std::exchange(waited, waitedTime());
        if (waited == before)
            return Time{now - *before, busy.tv_sec * 1'000'000'000 + busy.tv_nsec};
    }
    return std::nullopt;
}

bool BarApplication::notify(QObject* receiver, QEvent* event) {
    if (m_report.get() < 0 || m_depth > 0)
        return QApplication::notify(receiver, event);
    // The receiver and the event may be gone afterwards.
    const auto* kind = QMetaEnum::fromType<QEvent::Type>().valueToKey(event->type());
    const std::string what = fmt::format("{} for {}", kind == nullptr ? "event" : kind,
                                         receiver == nullptr ? "nobody" : receiver->metaObject()->className());
    const auto before = time();
    ++m_depth;
    const bool isHandled = QApplication::notify(receiver, event);
    --m_depth;
    if (const auto after = time(); before && after)
        record({after->own - before->own, after->busy - before->busy}, what);
    return isHandled;
}

void BarApplication::record(const Time& took, const std::string& what) {
    const bool isLongest = took.own > m_longest.own;
    const bool isBusiest = took.busy > m_longest.busy;
    if (!isLongest && !isBusiest)
        return;
    const auto line = [&](qint64 nanoseconds) {
        return fmt::format("{:.2f} {}\n", static_cast<double>(nanoseconds) / 1e6, what);
    };
    if (isLongest) {
        m_longest.own = took.own;
        m_longestLine = line(took.own);
    }
    if (isBusiest) {
        m_longest.busy = took.busy;
        m_busiestLine = line(took.busy);
    }
    const auto text = m_longestLine + m_busiestLine;
    (void)!::ftruncate(m_report.get(), 0);
    (void)!::pwrite(m_report.get(), text.data(), text.size(), 0);
}

} // namespace torvo
