#include "tests/support/ManualDispatcher.h"

namespace torvo::testing {

struct ManualDispatcher::Handle final : ScheduledTask {
    explicit Handle(std::shared_ptr<Timer> timer) : m_timer(std::move(timer)) {}
    ~Handle() override { m_timer->isCancelled = true; }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

  private:
    std::shared_ptr<Timer> m_timer;
};

ManualDispatcher::~ManualDispatcher() {
    // A thread may start another one while it ends.
    while (true) {
        std::vector<std::jthread> threads;
        {
            const std::lock_guard guard(m_lock);
            threads.swap(m_threads);
        }
        if (threads.empty())
            return;
    }
}

void ManualDispatcher::runOnMain(Task task) {
    const std::lock_guard guard(m_lock);
    m_queue.push_back(std::move(task));
    m_queued.notify_all();
}

std::unique_ptr<ScheduledTask> ManualDispatcher::schedule(std::chrono::milliseconds delay,
                                                          std::chrono::milliseconds interval, Task task) {
    auto timer = std::make_shared<Timer>(std::move(task), interval);
    m_timers.emplace(m_now + delay, timer);
    return std::make_unique<Handle>(std::move(timer));
}

std::unique_ptr<ScheduledTask> ManualDispatcher::runAfter(std::chrono::milliseconds delay, Task task) {
    return schedule(delay, std::chrono::milliseconds(0), std::move(task));
}

std::unique_ptr<ScheduledTask> ManualDispatcher::runEvery(std::chrono::milliseconds interval,
                                                          std::chrono::milliseconds /*tolerance*/, Task task) {
    return schedule(interval, interval, std::move(task));
}

void ManualDispatcher::runDetached(Task task) {
    const std::lock_guard guard(m_lock);
    if (m_detached == Detached::held)
        m_held.push_back(std::move(task));
    else
        m_threads.emplace_back(std::move(task));
}

void ManualDispatcher::runPending() {
    while (true) {
        Task task;
        {
            const std::lock_guard guard(m_lock);
            if (m_queue.empty())
                return;
            task = std::move(m_queue.front());
            m_queue.pop_front();
        }
        task();
    }
}

void ManualDispatcher::advance(std::chrono::milliseconds time) {
    const auto end = m_now + time;
    runPending();
    while (!m_timers.empty() && m_timers.begin()->first <= end) {
        const auto first = m_timers.begin();
        m_now = first->first;
        const auto timer = first->second;
        m_timers.erase(first);
        if (timer->isCancelled)
            continue;
        if (timer->interval > std::chrono::milliseconds(0))
            m_timers.emplace(m_now + timer->interval, timer);
        timer->task();
        runPending();
    }
    m_now = end;
}

bool ManualDispatcher::isPending() {
    const std::lock_guard guard(m_lock);
    return !m_queue.empty();
}

bool ManualDispatcher::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (true) {
        runPending();
        if (condition())
            return true;
        std::unique_lock guard(m_lock);
        // The condition may also be about the disk: it is looked at again from time to time.
        m_queued.wait_for(guard, std::chrono::milliseconds(2), [&] { return !m_queue.empty(); });
        if (std::chrono::steady_clock::now() >= end && m_queue.empty())
            return false;
    }
}

void ManualDispatcher::runHeld(std::size_t index) {
    Task task = std::move(m_held.at(index));
    m_held.erase(m_held.begin() + static_cast<std::ptrdiff_t>(index));
    task();
    runPending();
}

} // namespace torvo::testing
