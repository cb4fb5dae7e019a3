// Searching 100,000 files by name, against `find DIR -name` on the same tree.
// Goal: under a second, and no slower than find.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// A thousand folders of a hundred files; a hundredth of the files are pictures.
const std::string& tree() {
    static const std::string root = [] {
        std::string name = (std::filesystem::temp_directory_path() / "torvo-bench-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            std::abort();
        for (int folder = 0; folder < 1000; ++folder) {
            const std::string path =
                name + "/group " + std::to_string(folder / 50) + "/folder " + std::to_string(folder);
            std::filesystem::create_directories(path);
            for (int file = 0; file < 100; ++file)
                std::ofstream(path + "/Document number " + std::to_string(file) + (file == 7 ? ".png" : ".txt"));
        }
        return name;
    }();
    return root;
}

/// Runs a program with its output thrown away; milliseconds.
double timeOf(const std::vector<std::string>& arguments) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const auto start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0)
        std::abort();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double>& values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

void search(benchmark::State& state, const std::vector<std::string>& query, const std::string& pattern) {
    std::vector<std::string> own{TORVO_BIN_DIR "/mdfind", "-onlyin", tree()};
    own.insert(own.end(), query.begin(), query.end());
    std::vector<double> floorTimes;
    std::vector<double> ownTimes;
    for ([[maybe_unused]] auto round : state) {
        floorTimes.push_back(timeOf({"find", tree(), "-name", pattern}));
        ownTimes.push_back(timeOf(own));
    }
    state.counters["find_ms"] = median(floorTimes);
    state.counters["mdfind_ms"] = median(ownTimes);
    state.counters["ratio"] = median(ownTimes) / median(floorTimes);
}

BENCHMARK_CAPTURE(search, few, {"-name", "number 7."}, "*number 7.*")->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, all, {"document"}, "*Document*")->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, kind, {"kind:image"}, "*.png")->Iterations(15)->Unit(benchmark::kMillisecond);

} // namespace

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(tree());
    return 0;
}
