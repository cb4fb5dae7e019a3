#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace torvo {

/// Keeps a listener registered as long as it lives. Outlives what it listens to without harm.
class [[nodiscard]] Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : m_end(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : m_end(std::exchange(other.m_end, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        std::swap(m_end, other.m_end);
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() {
        if (m_end)
            m_end();
    }

  private:
    std::function<void()> m_end;
};

/// Listeners that are told when something happens, and what. For one thread. A listener may come and go while others
/// are told. Copies have the same listeners.
template <typename... What>
class ObserversOf {
  public:
    using Listener = std::function<void(What...)>;

    Subscription add(Listener listener) {
        const auto number = m_listeners->next++;
        m_listeners->byNumber[number] = std::move(listener);
        return Subscription([listeners = std::weak_ptr(m_listeners), number] {
            if (const auto alive = listeners.lock())
                alive->byNumber.erase(number);
        });
    }

    void notify(What... what) const {
        const auto listeners = m_listeners;
        for (auto next = listeners->byNumber.begin(); next != listeners->byNumber.end();) {
            const auto number = next->first;
            const auto listener = next->second;
            listener(what...);
            next = listeners->byNumber.upper_bound(number);
        }
    }

  private:
    struct Listeners {
        std::uint64_t next = 0;
        std::map<std::uint64_t, Listener> byNumber;
    };
    std::shared_ptr<Listeners> m_listeners = std::make_shared<Listeners>();
};

using Observers = ObserversOf<>;

} // namespace torvo
