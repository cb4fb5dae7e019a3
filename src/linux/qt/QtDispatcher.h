#pragma once

#include "platform/Dispatcher.h"

#include <QObject>
#include <condition_variable>
#include <mutex>

namespace torvo {

/// The main thread is the one that runs Qt's event loop, in which the object is made and destroyed.
class QtDispatcher final : public Dispatcher {
  public:
    QtDispatcher() = default;
    ~QtDispatcher() override { finishDetached(); }
    QtDispatcher(const QtDispatcher&) = delete;
    QtDispatcher& operator=(const QtDispatcher&) = delete;

    void runOnMain(Task task) override;
    std::unique_ptr<ScheduledTask> runAfter(std::chrono::milliseconds delay, Task task) override;
    std::unique_ptr<ScheduledTask> runEvery(std::chrono::milliseconds interval, std::chrono::milliseconds tolerance,
                                            Task task) override;
    void runDetached(Task task) override;

    /// Waits until no detached task runs any more; what they queue for the main thread is not waited for.
    void finishDetached();
    /// The same, for so long at most.
    void finishDetached(std::chrono::milliseconds most);

  private:
    /// Receives the tasks for the main thread; what is queued when it goes is dropped.
    QObject m_main;
    std::mutex m_lock;
    std::condition_variable m_ended;
    int m_running = 0;
};

} // namespace torvo
