#include "linux/ProcessTable.h"

#include "linux/LinuxProcessHost.h"
#include "tests/support/Eventually.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

using namespace torvo;
using namespace torvo::testing;

namespace {

/// A child that does nothing until it is killed.
class IdleChild {
  public:
    IdleChild() : m_pid(::fork()) {
        if (m_pid == 0) {
            while (true)
                ::pause();
        }
    }
    ~IdleChild() { reap(); }
    void reap() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
        m_pid = 0;
    }
    [[nodiscard]] pid_t pid() const { return m_pid; }

  private:
    pid_t m_pid;
};

} // namespace

TEST(ProcessTable, ReadsStatusPastAnyCommandName) {
    const std::string numbers = " S 4 5 6 0 -1 4194304 1 2 3 4 5 6 7 8 20 0 1 0 987654 10 11 12\n";
    for (const std::string name : {"sh", "a b", "a) S 9 (b", ":-)", ""}) {
        const auto status = process_table::parseStatus("17 (" + name + ")" + numbers);
        ASSERT_TRUE(status) << name;
        EXPECT_EQ(status->state, 'S');
        EXPECT_EQ(status->parent, 4);
        EXPECT_EQ(status->startTicks, 987654U);
    }
    for (const char* broken : {"", "17 (sh", "17 (sh)", "17 (sh) S 4 5 6",
                               "17 (sh) S 4 5 6 0 -1 4194304 1 2 3 4 5 6 7 "
                               "8 20 0 1 0 x 10"})
        EXPECT_FALSE(process_table::parseStatus(broken)) << broken;
}

TEST(ProcessTable, ListsTheChildrenOfAllThreadsAndSoDoesTheScan) {
    std::optional<IdleChild> ours(std::in_place);
    std::atomic<pid_t> theThreads = 0;
    std::atomic<bool> mayEnd = false;
    std::thread thread([&] {
        const IdleChild child;
        theThreads = child.pid();
        while (!mayEnd)
            std::this_thread::yield();
    });
    EXPECT_TRUE(eventually([&] { return theThreads != 0; }));
    const auto isListed = [&](const std::vector<std::int32_t>& list) {
        return std::ranges::count(list, ours->pid()) == 1 && std::ranges::count(list, theThreads.load()) == 1;
    };
    EXPECT_TRUE(isListed(process_table::children(::getpid())));
    EXPECT_TRUE(isListed(process_table::childrenByScan(::getpid())));
    mayEnd = true;
    thread.join();
    EXPECT_TRUE(process_table::children(ours->pid()).empty());
    const auto gone = ours->pid();
    ours.reset();
    EXPECT_TRUE(process_table::children(gone).empty());
}

TEST(ProcessTable, FindsTheProcessesThatHoldAPipe) {
    int ends[2];
    int others[2];
    ASSERT_EQ(::pipe(ends), 0);
    const IdleChild holder;
    ASSERT_EQ(::pipe(others), 0);
    const int pipes[] = {ends[0]};
    EXPECT_EQ(process_table::holders(pipes), std::vector<std::int32_t>{holder.pid()});
    const int unshared[] = {others[0], others[1]};
    EXPECT_TRUE(process_table::holders(unshared).empty());
    for (const int end : {ends[0], ends[1], others[0], others[1]})
        ::close(end);
}

TEST(LinuxProcessHost, SignalsAProcessOnlyUnderItsOwnStartTime) {
    LinuxProcessHost host;
    IdleChild child;
    const auto identity = host.identity(child.pid());
    ASSERT_TRUE(identity);
    EXPECT_EQ(host.identity(child.pid()), identity);
    EXPECT_FALSE(host.hasEnded(*identity));

    ProcessIdentity earlier = *identity;
    earlier.startMicroseconds += 10'000;
    EXPECT_TRUE(host.hasEnded(earlier));
    host.signal(earlier, StopSignal::kill);
    EXPECT_FALSE(host.hasEnded(*identity)) << "another process had that number";

    host.signal(*identity, StopSignal::kill);
    EXPECT_TRUE(eventually([&] { return host.hasEnded(*identity); }));
    EXPECT_EQ(host.identity(child.pid()), identity) << "not reaped yet";
    child.reap();
    EXPECT_FALSE(host.identity(identity->pid));
    EXPECT_TRUE(host.hasEnded(*identity));
}
