#pragma once

#include <chrono>
#include <thread>

namespace torvo::testing {

/// Waits until the condition holds; false when it still does not at the deadline.
template <typename Condition>
[[nodiscard]] bool eventually(Condition&& condition, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace torvo::testing
