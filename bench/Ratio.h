#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace torvo::bench {

/// What a benchmark counts.
enum class TimeSource {
    /// The time that passes: for work that waits for other processes or for the kernel.
    wall,
    /// The processor time of this thread: for pure computing, so that other work on the machine hardly counts.
    processor,
};

/// Seconds since some moment in the past.
inline double now(TimeSource source) {
    timespec time{};
    ::clock_gettime(source == TimeSource::wall ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Seconds that one call takes.
template <typename Function>
double secondsOf(Function&& function, TimeSource source = TimeSource::wall) {
    const double start = now(source);
    std::forward<Function>(function)();
    return now(source) - start;
}

/// A job that does `function` several times over: what is too short to be timed alone.
template <typename Function>
auto repeated(int times, Function function) {
    return [times, function = std::move(function)] {
        for (int i = 0; i < times; ++i)
            function();
    };
}

/// Makes the compiler believe that the value is used.
template <typename Value>
void keep(const Value& value) {
    asm volatile("" : : "m"(value) : "memory");
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The median times, in seconds, of a job and of the least that it can cost.
struct Comparison {
    double floor = 0;
    double work = 0;
    [[nodiscard]] double ratio() const { return work / floor; }
};

/// Runs both in turn, so that both see the same machine; a first round of each is not counted.
template <typename Floor, typename Work>
Comparison compare(Floor&& floor, Work&& work, int rounds = 21, TimeSource source = TimeSource::wall) {
    floor();
    work();
    std::vector<double> floorTimes;
    std::vector<double> workTimes;
    for (int i = 0; i < rounds; ++i) {
        floorTimes.push_back(secondsOf(floor, source));
        workTimes.push_back(secondsOf(work, source));
    }
    return {median(std::move(floorTimes)), median(std::move(workTimes))};
}

/// "12.345 ms", in the unit that fits.
inline std::string timeText(double seconds) {
    constexpr std::array units{std::pair{1.0, "s "}, std::pair{1e-3, "ms"}, std::pair{1e-6, "us"},
                               std::pair{1e-9, "ns"}};
    const auto* unit = std::ranges::find_if(units, [&](const auto& each) { return seconds >= each.first; });
    if (unit == units.end())
        --unit;
    char text[32];
    std::snprintf(text, sizeof text, "%8.3f %s", seconds / unit->first, unit->second);
    return text;
}

inline void printGoal(const std::string& name, const std::string& measured, double value, double goal) {
    std::printf("%-54s %-56s goal %6.2f  %s\n", name.c_str(), measured.c_str(), goal, value <= goal ? "met" : "MISSED");
    std::fflush(stdout);
}

/// Prints one line for a value (of any unit) whose goal is an upper bound.
inline void reportValue(const std::string& name, double value, const std::string& unit, double goal) {
    char text[96];
    std::snprintf(text, sizeof text, "%.3f %s", value, unit.c_str());
    printGoal(name, text, value, goal);
}

/// Prints one line: both times, their ratio, and whether the ratio stays within `goal`.
inline void reportRatio(const std::string& name, const Comparison& times, double goal) {
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "ratio %6.2f", times.ratio());
    printGoal(name, "floor " + timeText(times.floor) + "  work " + timeText(times.work) + "  " + ratio, times.ratio(),
              goal);
}

/// Compares `work` with `floor`, the least that the job can cost, and prints one line.
template <typename Floor, typename Work>
void reportRatio(const std::string& name, Floor&& floor, Work&& work, double goal, int rounds = 21) {
    reportRatio(name, compare(std::forward<Floor>(floor), std::forward<Work>(work), rounds), goal);
}

} // namespace torvo::bench
