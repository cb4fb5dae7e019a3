#pragma once

#include "platform/SerialQueue.h"

#include <deque>
#include <functional>
#include <utility>

namespace torvo::testing {

/// A queue whose tasks run at once, or, while it is held, when the test says so. For the test's thread.
class ManualQueue final : public SerialQueue {
  public:
    void async(std::function<void()> task) override {
        m_tasks.push_back(std::move(task));
        if (!isHeld)
            run();
    }
    void sync(const std::function<void()>& task) override {
        run();
        task();
    }
    /// Runs what is queued.
    void run() {
        while (!m_tasks.empty()) {
            const auto task = std::move(m_tasks.front());
            m_tasks.pop_front();
            task();
        }
    }

    bool isHeld = false;

  private:
    std::deque<std::function<void()>> m_tasks;
};

} // namespace torvo::testing
