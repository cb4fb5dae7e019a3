#include "linux/qt/QtDispatcher.h"

#include <QMetaObject>
#include <QTimer>
#include <thread>

namespace torvo {

namespace {

class TimerTask final : public ScheduledTask {
  public:
    TimerTask(std::chrono::milliseconds interval, bool isRepeated, Qt::TimerType type, Dispatcher::Task task)
        : m_timer(new QTimer) {
        m_timer->setTimerType(type);
        m_timer->setSingleShot(!isRepeated);
        m_timer->setInterval(interval);
        // The task may destroy this object, and the timer with it, while it runs.
        QObject::connect(m_timer, &QTimer::timeout, m_timer, [task = std::move(task)] {
            const auto kept = task;
            kept();
        });
        m_timer->start();
    }
    ~TimerTask() override {
        m_timer->stop();
        m_timer->deleteLater();
    }
    TimerTask(const TimerTask&) = delete;
    TimerTask& operator=(const TimerTask&) = delete;

  private:
    QTimer* m_timer;
};

} // namespace

void QtDispatcher::runOnMain(Task task) {
    QMetaObject::invokeMethod(&m_main, std::move(task), Qt::QueuedConnection);
}

std::unique_ptr<ScheduledTask> QtDispatcher::runAfter(std::chrono::milliseconds delay, Task task) {
    return std::make_unique<TimerTask>(delay, false, Qt::PreciseTimer, std::move(task));
}

std::unique_ptr<ScheduledTask> QtDispatcher::runEvery(std::chrono::milliseconds interval,
                                                      std::chrono::milliseconds tolerance, Task task) {
    // A coarse timer is late by up to a twentieth of its interval.
    const auto type = tolerance * 20 >= interval ? Qt::CoarseTimer : Qt::PreciseTimer;
    return std::make_unique<TimerTask>(interval, true, type, std::move(task));
}

void QtDispatcher::runDetached(Task task) {
    {
        const std::lock_guard guard(m_lock);
        ++m_running;
    }
    std::thread([this, task = std::move(task)]() mutable {
        task();
        // What the task holds goes before its end is told.
        task = {};
        const std::lock_guard guard(m_lock);
        --m_running;
        m_ended.notify_all();
    }).detach();
}

void QtDispatcher::finishDetached() {
    std::unique_lock lock(m_lock);
    m_ended.wait(lock, [&] { return m_running == 0; });
}

void QtDispatcher::finishDetached(std::chrono::milliseconds most) {
    std::unique_lock lock(m_lock);
    m_ended.wait_for(lock, most, [&] { return m_running == 0; });
}

} // namespace torvo
