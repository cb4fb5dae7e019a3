// What confining a run costs: the same vfork, exec and wait of `zsh -c true`, bare and confined.
#include "Ratio.h"
#include "linux/Confinement.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

using namespace torvo;
using namespace torvo::bench;

namespace {

[[gnu::noinline]] void runTrue(const PreparedConfinement* confinement) {
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
    if (status != 0) {
        std::fprintf(stderr, "ConfinementBench: a run failed\n");
        std::exit(1);
    }
}

void runConfined() {
    const auto confinement = PreparedConfinement::prepare();
    runTrue(confinement ? &*confinement : nullptr);
}

} // namespace

int main() {
    if (!PreparedConfinement::prepare()) {
        std::printf("confinement is not possible on this machine\n");
        return 0;
    }
    const auto times = compare([] { runTrue(nullptr); }, [] { runConfined(); }, 401);
    reportRatio("run zsh -c true, confined", times, 1.5);
    reportValue("  added", (times.work - times.floor) * 1e3, "ms", 1.0);
}
