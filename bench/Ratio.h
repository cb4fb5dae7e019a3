#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace torvo::bench {

/// Seconds that one call takes.
template <typename Function>
double secondsOf(Function&& function) {
    const auto start = std::chrono::steady_clock::now();
    std::forward<Function>(function)();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

inline void printGoal(const std::string& name, const std::string& measured, double value, double goal) {
    std::printf("%-46s %s  goal %.2f  %s\n", name.c_str(), measured.c_str(), goal, value <= goal ? "met" : "MISSED");
    std::fflush(stdout);
}

/// Measures a value (of any unit) against a goal that is an upper bound, and prints one line.
inline void reportValue(const std::string& name, double value, const std::string& unit, double goal) {
    char text[96];
    std::snprintf(text, sizeof text, "%.3f %s", value, unit.c_str());
    printGoal(name, text, value, goal);
}

/// Runs `floor`, the least that the job can cost, and `work` in turn, so that both see the same machine, and prints one
/// line: the median time of each, their ratio, and whether the ratio stays within `goal`. Returns the ratio.
template <typename Floor, typename Work>
double reportRatio(const std::string& name, Floor&& floor, Work&& work, double goal, int rounds = 21) {
    floor();
    work();
    std::vector<double> floorTimes;
    std::vector<double> workTimes;
    for (int i = 0; i < rounds; ++i) {
        floorTimes.push_back(secondsOf(floor));
        workTimes.push_back(secondsOf(work));
    }
    const double floorTime = median(floorTimes);
    const double workTime = median(workTimes);
    char text[96];
    std::snprintf(text, sizeof text, "floor %9.3f ms  work %9.3f ms  ratio %5.2f", floorTime * 1e3, workTime * 1e3,
                  workTime / floorTime);
    printGoal(name, text, workTime / floorTime, goal);
    return workTime / floorTime;
}

} // namespace torvo::bench
