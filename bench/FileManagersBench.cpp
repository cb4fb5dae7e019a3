// What asking a file manager costs, on a desktop of its own, and what following its window costs the processor.
// TORVO_ALL_FILE_MANAGERS=1 measures all five.
#include "Ratio.h"
#include "tests/support/Eventually.h"
#include "tests/support/RunningBar.h"

#include <fmt/format.h>

#include <chrono>
#include <fstream>
#include <thread>

using namespace torvo;
using namespace torvo::bench;

namespace {

constexpr double kReadGoal = 25;
constexpr double kFrameGoal = 2;
constexpr double kFollowGoal = 0.5;
constexpr int kFiles = 1000;

/// The median time of one step, in milliseconds.
template <typename Step>
double millisecondsOf(Step step, int rounds) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i)
        times.push_back(secondsOf(step, TimeSource::wall) * 1e3);
    return median(std::move(times));
}

/// The processor time that a process has used, in seconds (proc(5), /proc/PID/stat, fields 14 and 15).
double processorTime(std::int32_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string word;
    double ticks = 0;
    for (int field = 1; field <= 15 && stat >> word; ++field)
        if (field >= 14)
            ticks += std::stod(word);
    return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

void measure(const testing::FileManagerKind& kind) {
    const testing::TemporaryFolder files;
    std::vector<std::string> paths;
    for (int i = 0; i < kFiles; ++i)
        paths.push_back(files.file(fmt::format("file {:04}.txt", i), "x").path());
    testing::DesktopSession session;
    if (!session.open(kind, files.url()))
        return;
    auto& manager = session.fileManagers();
    (void)session.selectsAll(kFiles);
    reportValue(fmt::format("{}: read 1000 selected files", kind.program),
                millisecondsOf([&] { (void)manager.selection(); }, 11), "ms", 1000);
    manager.select({paths[0], paths[1], paths[2]});
    if (!testing::eventually([&] { return manager.selection().size() == 3; }))
        return;
    reportValue(fmt::format("{}: read 3 selected files, cold", kind.program),
                millisecondsOf(
                    [&] {
                        SessionBus bus;
                        FileManagers fresh(bus);
                        (void)fresh.selection();
                    },
                    5),
                "ms", 1000);
    reportValue(fmt::format("{}: read 3 selected files, warm", kind.program),
                millisecondsOf([&] { (void)manager.selection(); }, 31), "ms", kReadGoal);
    reportValue(fmt::format("{}: where the window is", kind.program),
                millisecondsOf([&] { (void)manager.frame(*manager.frontWindow(session.pid())); }, 101), "ms",
                kFrameGoal);
    const testing::RunningBar bar(session);
    if (!session.desktop().eventually([&] { return bar.isShown(); }))
        return;
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const double before = processorTime(bar.pid());
    constexpr int kSeconds = 10;
    std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
    reportValue(fmt::format("{}: following its window", kind.program),
                (processorTime(bar.pid()) - before) / kSeconds * 100, "% of a core", kFollowGoal);
}

} // namespace

int main() {
    for (const auto& kind : testing::fileManagerKinds())
        measure(kind);
}
