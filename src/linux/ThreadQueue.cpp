#include "linux/ThreadQueue.h"

#include <future>
#include <utility>

namespace torvo {

ThreadQueue::~ThreadQueue() {
    m_thread.request_stop();
    if (m_thread.joinable())
        m_thread.join();
}

void ThreadQueue::async(std::function<void()> task) {
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        if (!m_thread.joinable())
            m_thread = std::jthread([this](const std::stop_token& stop) { work(stop); });
    }
    m_changed.notify_one();
}

void ThreadQueue::sync(const std::function<void()>& task) {
    std::promise<void> done;
    async([&] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

void ThreadQueue::work(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    while (m_changed.wait(lock, stop, [this] { return !m_tasks.empty(); }) || !m_tasks.empty()) {
        const auto task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace torvo
