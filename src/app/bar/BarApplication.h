#pragma once

#include "support/Descriptor.h"

#include <QApplication>
#include <optional>
#include <string>

namespace torvo {

/// The application, which can watch over its main thread: how long the handling of an event kept it from the next one.
/// Time in which the thread waited for a processor does not count; waits for the disk and the X server do, and a busy
/// machine makes them longer.
class BarApplication final : public QApplication {
  public:
    BarApplication(int& count, char** values);

    /// From now on keeps two lines in that file: how long the longest turn took in milliseconds and what was handled in
    /// it, and the same of the turn that was on a processor for longest.
    void watchTurns(const std::string& file);

    bool notify(QObject* receiver, QEvent* event) override;

  private:
    /// Nanoseconds in which the thread waited for a processor; absent when the kernel does not tell.
    [[nodiscard]] std::optional<qint64> waitedTime() const;
    /// In nanoseconds, since some moment.
    struct Time {
        /// In which the thread ran or slept.
        qint64 own = 0;
        /// In which it ran.
        qint64 busy = 0;
    };
    /// Absent when the kernel does not tell.
    [[nodiscard]] std::optional<Time> time() const;
    void record(const Time& took, const std::string& what);

    Descriptor m_report;
    /// The kernel's account of this thread.
    Descriptor m_schedule;
    /// The most of each.
    Time m_longest;
    std::string m_longestLine;
    std::string m_busiestLine;
    int m_depth = 0;
};

} // namespace torvo
