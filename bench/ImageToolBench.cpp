// The image tool against the `vips` program on the same files, both writing jpeg of quality 75. The two take turns, so
// that what else the machine does meets both.

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// How long a program takes from its start to its end. A failure ends the benchmark.
Milliseconds timed(const Arguments& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const auto begin = std::chrono::steady_clock::now();
    pid_t process = 0;
    int status = -1;
    if (::posix_spawnp(&process, argv[0], nullptr, nullptr, argv.data(), environ) == 0)
        ::waitpid(process, &status, 0);
    if (status != 0) {
        fmt::print(stderr, "{} failed\n", fmt::join(arguments, " "));
        std::exit(1);
    }
    return std::chrono::steady_clock::now() - begin;
}

Milliseconds median(std::vector<Milliseconds> times) {
    std::ranges::sort(times);
    return times[times.size() / 2];
}

Arguments sips(const std::string& from, const std::string& to) {
    static const std::string program = TORVO_BIN_DIR "/sips";
    return {program, "-s", "format", "jpeg", "-s", "formatOptions", "75", from, "--out", to};
}

Arguments vips(const std::string& from, const std::string& to) {
    return {"vips", "copy", from, to + "[Q=75]"};
}

void report(const char* work, Milliseconds ours, Milliseconds floor, double goal) {
    fmt::print("{:<38} sips {:8.1f} ms   vips {:8.1f} ms   ratio {:.2f} (goal {:.2f})\n", work, ours.count(),
               floor.count(), ours / floor, goal);
}

} // namespace

int main() {
    std::string name = (std::filesystem::temp_directory_path() / "torvo-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        return 1;
    const std::string folder = name + "/";

    timed({"/usr/bin/convert", "-size", "500x375", "-seed", "1", "plasma:fractal", "-resize", "4000x3000", "-attenuate",
           "0.1", "+noise", "Gaussian", "-depth", "8", "PNG24:" + folder + "large.png"});
    std::vector<Milliseconds> ours;
    std::vector<Milliseconds> theirs;
    for (int round = 0; round < 7; ++round) {
        ours.push_back(timed(sips(folder + "large.png", folder + "ours.jpg")));
        theirs.push_back(timed(vips(folder + "large.png", folder + "theirs.jpg")));
    }
    report("png to jpeg, 12 megapixels", median(ours), median(theirs), 1.0);

    constexpr int kFiles = 100;
    for (int file = 0; file < kFiles; ++file)
        timed({"/usr/bin/convert", "-size", "64x64", "-seed", std::to_string(file), "plasma:fractal", "-depth", "8",
               fmt::format("PNG24:{}small-{}.png", folder, file)});
    Milliseconds allOurs{0};
    Milliseconds allTheirs{0};
    for (int file = 0; file < kFiles; ++file) {
        const std::string small = fmt::format("{}small-{}", folder, file);
        allOurs += timed(sips(small + ".png", small + ".jpg"));
        allTheirs += timed(vips(small + ".png", small + "-vips.jpg"));
    }
    report("png to jpeg, 100 small files, a run each", allOurs, allTheirs, 0.35);

    std::filesystem::remove_all(name);
    return 0;
}
