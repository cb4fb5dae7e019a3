#pragma once

#include "platform/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace torvo {

/// A serial queue on a thread of its own, which starts with the first task. Its destructor runs what is still queued.
class ThreadQueue final : public SerialQueue {
  public:
    ThreadQueue() = default;
    ~ThreadQueue() override;
    ThreadQueue(const ThreadQueue&) = delete;
    ThreadQueue& operator=(const ThreadQueue&) = delete;

    void async(std::function<void()> task) override;
    void sync(const std::function<void()>& task) override;

  private:
    void work(const std::stop_token& stop);

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<std::function<void()>> m_tasks;
    std::jthread m_thread;
};

} // namespace torvo
