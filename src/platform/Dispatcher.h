#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace torvo {

/// Something scheduled for later. Destroying it cancels what has not happened yet.
class ScheduledTask {
  public:
    virtual ~ScheduledTask() = default;
};

/// Where and when work happens: the main thread, which owns the bar and the windows, and threads beside it for work
/// that blocks.
class Dispatcher {
  public:
    using Task = std::function<void()>;

    virtual ~Dispatcher() = default;

    /// Queues a task for the main thread, after those queued before. Callable from any thread; never runs it at once.
    virtual void runOnMain(Task task) = 0;
    /// Runs a task on the main thread after a delay. To be called on the main thread, which also destroys the result;
    /// the task may do so while it runs.
    [[nodiscard]] virtual std::unique_ptr<ScheduledTask> runAfter(std::chrono::milliseconds delay, Task task) = 0;
    /// Runs a task on the main thread again and again, each time at most `tolerance` late. Main thread only, as above.
    /// The task may destroy the result.
    [[nodiscard]] virtual std::unique_ptr<ScheduledTask> runEvery(std::chrono::milliseconds interval,
                                                                  std::chrono::milliseconds tolerance, Task task) = 0;
    /// Runs a task that may block on a thread of its own. Callable from any thread. Every such task has ended when the
    /// dispatcher is destroyed.
    virtual void runDetached(Task task) = 0;
};

} // namespace torvo
