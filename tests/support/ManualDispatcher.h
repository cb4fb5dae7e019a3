#pragma once

#include "platform/Dispatcher.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace torvo::testing {

/// A main thread that the test is, and a clock that stands still until the test moves it.
class ManualDispatcher final : public Dispatcher {
  public:
    enum class Detached {
        /// Detached tasks run at once, each on a thread of its own.
        onThreads,
        /// They wait until the test runs them with `runHeld`, on the test's thread.
        held,
    };

    explicit ManualDispatcher(Detached detached = Detached::onThreads) : m_detached(detached) {}
    ~ManualDispatcher() override;
    ManualDispatcher(const ManualDispatcher&) = delete;
    ManualDispatcher& operator=(const ManualDispatcher&) = delete;

    void runOnMain(Task task) override;
    std::unique_ptr<ScheduledTask> runAfter(std::chrono::milliseconds delay, Task task) override;
    std::unique_ptr<ScheduledTask> runEvery(std::chrono::milliseconds interval, std::chrono::milliseconds tolerance,
                                            Task task) override;
    void runDetached(Task task) override;

    /// Whether something is queued for the main thread.
    [[nodiscard]] bool isPending();
    /// Runs what is queued for the main thread, also what that queues.
    void runPending();
    /// Moves the clock and runs what falls due on the way, each at its time.
    void advance(std::chrono::milliseconds time);
    /// Runs what is queued until the condition holds; false when it still does not at the deadline.
    [[nodiscard]] bool runUntil(const std::function<bool()>& condition,
                                std::chrono::milliseconds deadline = std::chrono::seconds(20));

    /// Calls something that waits for the main thread, from another thread, and returns what it returned.
    template <typename Call>
    [[nodiscard]] auto answering(Call call) {
        auto result = std::async(std::launch::async, std::move(call));
        (void)runUntil([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        return result.get();
    }

    [[nodiscard]] std::size_t heldCount() const { return m_held.size(); }
    /// Runs the held task of that number to its end, then what it queued for the main thread.
    void runHeld(std::size_t index);

  private:
    struct Timer {
        Task task;
        std::chrono::milliseconds interval{0};
        bool isCancelled = false;
    };
    struct Handle;

    std::unique_ptr<ScheduledTask> schedule(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                            Task task);

    Detached m_detached;
    std::chrono::milliseconds m_now{0};
    std::multimap<std::chrono::milliseconds, std::shared_ptr<Timer>> m_timers;
    std::vector<Task> m_held;

    std::mutex m_lock;
    std::condition_variable m_queued;
    std::deque<Task> m_queue;
    std::vector<std::jthread> m_threads;
};

} // namespace torvo::testing
