// What confining a run costs: the same vfork, exec and wait of `zsh -c true`, bare and confined.
#include "linux/Confinement.h"

#include <benchmark/benchmark.h>
#include <fmt/core.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

using namespace torvo;
using Milliseconds = std::chrono::duration<double, std::milli>;

[[gnu::noinline]] bool runTrue(const PreparedConfinement* confinement) {
    static char shell[] = "/bin/zsh";
    static char option[] = "-c";
    static char command[] = "true";
    static char* const arguments[] = {shell, option, command, nullptr};
    const pid_t child = ::vfork();
    if (child == 0) {
        if (confinement == nullptr || confinement->apply() == 0)
            ::execve(shell, arguments, environ);
        ::_exit(127);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status == 0;
}

bool runConfined() {
    const auto confinement = PreparedConfinement::prepare();
    return confinement && runTrue(&*confinement);
}

double milliseconds(auto run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    return Milliseconds(std::chrono::steady_clock::now() - start).count();
}

/// The time of an undisturbed run: a tenth of the runs took less.
double undisturbed(std::vector<double> values) {
    const auto tenth = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 10);
    std::ranges::nth_element(values, tenth);
    return *tenth;
}

/// Bare and confined runs take turns, so that a busy moment of the machine weighs on both.
void confinementCost(benchmark::State& state) {
    std::vector<double> bare;
    std::vector<double> confined;
    std::vector<double> preparing;
    for (auto _ : state) {
        bool done = true;
        bare.push_back(milliseconds([&] { done &= runTrue(nullptr); }));
        confined.push_back(milliseconds([&] { done &= runConfined(); }));
        preparing.push_back(milliseconds([] { benchmark::DoNotOptimize(PreparedConfinement::prepare()); }));
        if (!done)
            state.SkipWithError("a run failed");
    }
    state.counters["bare_ms"] = undisturbed(bare);
    state.counters["added_ms"] = undisturbed(confined) - undisturbed(bare);
    state.counters["of_that_prepare_ms"] = undisturbed(preparing);
    state.counters["ratio"] = undisturbed(confined) / undisturbed(bare);
}

BENCHMARK(confinementCost)->Name("zsh -c true, confined / bare")->Iterations(400)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
