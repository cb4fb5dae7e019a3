#pragma once

#include <functional>

namespace torvo {

/// Runs tasks one after the other, in the order in which they came, off the caller's thread. Callable from any thread.
class SerialQueue {
  public:
    virtual ~SerialQueue() = default;

    /// Queues a task and returns at once.
    virtual void async(std::function<void()> task) = 0;
    /// Runs a task after everything that was queued before and returns when it is done.
    virtual void sync(const std::function<void()>& task) = 0;
};

} // namespace torvo
