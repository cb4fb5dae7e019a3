#include "execution/ProcessRunner.h"
#include "execution/ProcessTree.h"
#include "linux/LinuxProcessHost.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <sstream>
#include <string>
#include <thread>

using namespace torvo;
using namespace torvo::testing;
using namespace std::chrono_literals;

namespace {

/// A run of a zsh script on a thread of its own. The script says `ready` with the numbers of the processes it started.
class RunningScript {
  public:
    RunningScript(ProcessRunner& runner, const std::string& script)
        : m_thread([this, &runner, script] {
              m_result = runner.run({.executable = "/bin/zsh",
                                     .arguments = {"-c", "ready() { print $@ > $1.part; mv $1.part $1 }\n" + script,
                                                   "torvo", (m_folder / "pids").path()}});
              m_isOver = true;
          }) {}
    ~RunningScript() {
        if (m_thread.joinable())
            m_thread.join();
    }

    /// The processes that the script named, once it has.
    std::vector<ProcessIdentity> processes(ProcessHost& host) const {
        EXPECT_TRUE(eventually([this] { return (m_folder / "pids").exists(); }));
        std::istringstream content(readFile(m_folder / "pids"));
        std::string path;
        content >> path;
        std::vector<ProcessIdentity> found;
        for (std::int32_t pid = 0; content >> pid;) {
            const auto identity = host.identity(pid);
            EXPECT_TRUE(identity) << pid;
            found.push_back(identity.value_or(ProcessIdentity{}));
        }
        EXPECT_FALSE(found.empty());
        return found;
    }
    [[nodiscard]] bool isOver() const { return m_isOver; }
    const ProcessResult& result() {
        m_thread.join();
        return m_result;
    }

  private:
    TemporaryFolder m_folder;
    ProcessResult m_result;
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

struct CancelRow {
    const char* name;
    const char* script;
    std::chrono::milliseconds leastTime;
    std::chrono::milliseconds mostTime;
};

class CancelTest : public ::testing::TestWithParam<CancelRow> {};

// Time limits are wide: other tests may be running on the same machine.
const CancelRow kRows[] = {
    {"ABackgroundJob", "sleep 300 & ready $1 $$ $!; wait", 0ms, 900ms},
    {"AForegroundCommand", "sleep 300 | cat & ready $1 $$ $!; fg; sleep 300", 0ms, 900ms},
    {"ATreeThatIgnoresTerm", "trap '' TERM; sleep 300 & ready $1 $$ $!; while true; do sleep 300; done", 990ms, 5s},
    {"AJobInASessionOfItsOwn", "setsid sleep 300 & ready $1 $$ $!; wait", 0ms, 900ms},
    {"AJobInASessionOfItsOwnThatIgnoresTerm",
     "(trap '' TERM; exec setsid sleep 300 >&- 2>&-) & ready $1 $$ $!; sleep 0.05; wait", 990ms, 5s},
    {"AStrayThatHoldsAPipe",
     "setsid -f zsh -c 'print $$ > $1.stray; exec sleep 300' x $1;"
     "until [[ -s $1.stray ]]; do sleep 0.01; done; ready $1 $$ $(<$1.stray); sleep 300",
     0ms, 900ms},
    {"AStrayThatHoldsAPipeAndIgnoresTerm",
     "setsid -f zsh -c 'trap \"\" TERM; print $$ > $1.stray; exec sleep 300' x $1;"
     "until [[ -s $1.stray ]]; do sleep 0.01; done; ready $1 $$ $(<$1.stray); sleep 300",
     990ms, 5s},
    {"AStrayWhoseShellHasEnded", "setsid -f zsh -c 'print x $$ > $1.part; mv $1.part $1; sleep 300' x $1", 0ms, 900ms},
    {"AJobThatClosedItsStreamsAndLivesOn", "exec >&- 2>&-; ready $1 $$; sleep 300", 0ms, 900ms},
    {"AJobThatStartsAnotherWhenAsked",
     "zsh -c 'trap \"setsid sleep 300 & wait\" TERM; print x $$ > $1.part; mv $1.part $1;"
     "while true; do sleep 0.01; done' x $1 & wait",
     990ms, 5s},
    {"AStoppedJob", "sleep 300 & kill -STOP $!; ready $1 $$ $!; wait", 0ms, 5s},
    {"AnEndlessWriter", "yes & ready $1 $$ $!; yes >&2", 0ms, 900ms},
};

} // namespace

TEST_P(CancelTest, IsGoneWithEverythingItStarted) {
    LinuxProcessHost host;
    ProcessRunner runner(host);
    RunningScript script(runner, GetParam().script);
    const auto processes = script.processes(host);
    EXPECT_FALSE(script.isOver());

    const auto start = std::chrono::steady_clock::now();
    runner.cancel();
    runner.cancel();
    const auto& result = script.result();
    const auto taken = std::chrono::steady_clock::now() - start;
    for (const auto& process : processes)
        EXPECT_TRUE(host.hasEnded(process)) << process.pid;
    EXPECT_GE(taken, GetParam().leastTime);
    EXPECT_LE(taken, GetParam().mostTime);
    EXPECT_TRUE(runner.isCancelled());
    EXPECT_NE(result.status, -1);
}

INSTANTIATE_TEST_SUITE_P(Trees, CancelTest, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Cancel, LetsNoShellGoOnBecauseItsChildHasEnded) {
    const TemporaryFolder folder;
    LinuxProcessHost host;
    ProcessRunner runner(host);
    const auto text = "sleep 300 & ready $1 $$ $!; wait; touch " + (folder / "late").path();
    for (int i = 0; i < 40; ++i) {
        runner.clearCancelled();
        RunningScript script(runner, text);
        (void)script.processes(host);
        runner.cancel();
        (void)script.result();
        ASSERT_FALSE((folder / "late").exists()) << "in round " << i;
    }
}

TEST(Cancel, AtAnyMomentAroundTheStartAndTheEndLeavesNoChildBehind) {
    LinuxProcessHost host;
    int notStarted = 0;
    int stopped = 0;
    for (int i = 0; i < 150; ++i) {
        ProcessRunner runner(host);
        std::atomic<bool> mayCancel = false;
        std::thread canceller([&] {
            while (!mayCancel) {
            }
            const auto moment = std::chrono::steady_clock::now() + std::chrono::microseconds(i * 17);
            while (std::chrono::steady_clock::now() < moment) {
            }
            runner.cancel();
        });
        mayCancel = true;
        const auto result = runner.run({.executable = "/usr/bin/sleep", .arguments = {i % 3 == 0 ? "0" : "300"}});
        canceller.join();
        if (result.status == -1) {
            EXPECT_EQ(result.standardError.text(), "cancelled");
            ++notStarted;
        } else if (result.status != 0) {
            ++stopped;
        }
        EXPECT_TRUE(host.children(::getpid()).empty());
    }
    EXPECT_GT(notStarted + stopped, 99) << "two of three would have slept for minutes";
}

TEST(DescendantPIDs, ListsChildrenFirstThenTheDescendantsOfEachInTurn) {
    std::map<std::int32_t, std::vector<std::int32_t>> table{
        {1, {20, 10, 0, -5}}, {20, {21, 22}}, {21, {23}}, {10, {11}}, {11, {12}}};
    const auto walk = [&table] { return descendantPIDs(1, [&table](std::int32_t pid) { return table[pid]; }); };
    EXPECT_EQ(walk(), (std::vector<std::int32_t>{20, 10, 21, 22, 23, 11, 12}));
    // Numbers that move while the tables are read can seem to go round in a circle.
    table[12] = {1, 20, 12, 13};
    EXPECT_EQ(walk(), (std::vector<std::int32_t>{20, 10, 21, 22, 23, 11, 12, 13}));
    table.clear();
    EXPECT_TRUE(walk().empty());
}

TEST(TreeStop, LeavesAloneWhoHoldsAPipeButWasThereBeforeTheRoot) {
    /// Remembers whom it should signal, and does not.
    struct RecordingHost : LinuxProcessHost {
        std::vector<std::int32_t> signalled;

        std::vector<std::int32_t> children(std::int32_t) override { return {}; }
        void signal(const ProcessIdentity& process, StopSignal) override { signalled.push_back(process.pid); }
        void signalGroup(std::int32_t, StopSignal) override {}
    } host;
    TreeStop stop(host, {1, 100, 0});
    stop.terminateStrays({{7, 99, 0}, {8, 100, 0}, {1, 100, 0}});
    stop.terminateStrays({{8, 100, 0}});
    EXPECT_EQ(host.signalled, std::vector<std::int32_t>{8});
    stop.killTree();
    EXPECT_EQ(host.signalled, (std::vector<std::int32_t>{8, 8}));
}
