#include "app/bar/BarApplication.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <QEvent>
#include <QMetaEnum>
#include <array>
#include <charconv>
#include <chrono>
#include <string_view>

namespace torvo {

BarApplication::BarApplication(int& count, char** values) : QApplication(count, values) {}

void BarApplication::watchTurns(const std::string& file) {
    m_report = Descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    m_schedule = Descriptor(::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC));
}

/// The file holds the time on a processor, the time in wait for one, both in nanoseconds, and a count (Linux,
/// Documentation/scheduler/sched-stats.rst).
std::optional<qint64> BarApplication::ownTime() const {
    std::array<char, 96> text{};
    const auto length = ::pread(m_schedule.get(), text.data(), text.size(), 0);
    const std::string_view line(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const auto space = line.find(' ');
    qint64 waited = 0;
    if (space == std::string_view::npos ||
        std::from_chars(line.data() + space + 1, line.data() + line.size(), waited).ec != std::errc())
        return std::nullopt;
    return std::chrono::steady_clock::now().time_since_epoch().count() - waited;
}

bool BarApplication::notify(QObject* receiver, QEvent* event) {
    if (m_report.get() < 0 || m_depth > 0)
        return QApplication::notify(receiver, event);
    // The receiver and the event may be gone afterwards.
    const auto* kind = QMetaEnum::fromType<QEvent::Type>().valueToKey(event->type());
    const std::string what = fmt::format("{} for {}", kind == nullptr ? "event" : kind,
                                         receiver == nullptr ? "nobody" : receiver->metaObject()->className());
    const auto before = ownTime();
    ++m_depth;
    const bool isHandled = QApplication::notify(receiver, event);
    --m_depth;
    const auto after = ownTime();
    if (before && after && *after - *before > m_longest)
        record(*after - *before, what);
    return isHandled;
}

void BarApplication::record(qint64 nanoseconds, const std::string& what) {
    m_longest = nanoseconds;
    const auto line = fmt::format("{:.2f} {}\n", static_cast<double>(nanoseconds) / 1e6, what);
    (void)!::ftruncate(m_report.get(), 0);
    (void)!::pwrite(m_report.get(), line.data(), line.size(), 0);
}

} // namespace torvo
