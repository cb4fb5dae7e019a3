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

    /// From now on writes to that file, replacing what it holds, how long the longest turn took in milliseconds and
    /// what was handled in it, whenever there is a longer one.
    void watchTurns(const std::string& file);

    bool notify(QObject* receiver, QEvent* event) override;

  private:
    /// Nanoseconds in which the thread ran or slept, since some moment; absent when the kernel does not tell.
    [[nodiscard]] std::optional<qint64> ownTime() const;
    void record(qint64 nanoseconds, const std::string& what);

    Descriptor m_report;
    /// The kernel's account of this thread.
    Descriptor m_schedule;
    qint64 m_longest = 0;
    int m_depth = 0;
};

} // namespace torvo
