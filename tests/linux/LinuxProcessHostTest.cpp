#include "linux/LinuxProcessHost.h"

#include "execution/ProcessRunner.h"
#include "linux/ChildLauncher.h"
#include "linux/ProcessTable.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <string>
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

namespace {

/// Starts `request` with one pipe for both streams and returns all that it says.
std::string outputOf(LaunchRequest request) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return "no pipe";
    request.standardOutput = request.standardError = ends[1];
    const auto pid = launchChild(request);
    ::close(ends[1]);
    if (!pid) {
        ::close(ends[0]);
        return pid.error().description;
    }
    std::string output;
    std::array<char, 4096> buffer;
    for (ssize_t count = 0; (count = ::read(ends[0], buffer.data(), buffer.size())) > 0;)
        output.append(buffer.data(), static_cast<std::size_t>(count));
    ::close(ends[0]);
    ::waitpid(*pid, nullptr, 0);
    return output;
}

} // namespace

TEST(ChildLauncher, GivesTheChildACleanSlate) {
    // This process ignores one signal, handles another, blocks a third and leaks a descriptor.
    struct sigaction ignored{};
    struct sigaction handled{};
    ignored.sa_handler = SIG_IGN;
    handled.sa_handler = [](int) {};
    struct sigaction ignoredBefore{};
    struct sigaction handledBefore{};
    ::sigaction(SIGPIPE, &ignored, &ignoredBefore);
    ::sigaction(SIGUSR1, &handled, &handledBefore);
    sigset_t blocked;
    sigset_t maskBefore;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &maskBefore);
    const int leaked = ::open("/dev/null", O_RDONLY);

    const auto status = outputOf({.executable = "/bin/cat", .arguments = {"/proc/self/status"}});
    const auto descriptors = outputOf({.executable = "/bin/ls", .arguments = {"/proc/self/fd"}});
    const auto input = outputOf({.executable = "/bin/readlink", .arguments = {"/proc/self/fd/0"}});
    const auto group =
        outputOf({.executable = "/bin/zsh", .arguments = {"-fc", "print $(( $(ps -o pgid= $$) == $$ ))"}});

    sigset_t maskNow;
    ::pthread_sigmask(SIG_SETMASK, &maskBefore, &maskNow);
    EXPECT_EQ(::sigismember(&maskNow, SIGTERM), 1);
    EXPECT_EQ(::sigismember(&maskNow, SIGINT), 0);
    ::sigaction(SIGPIPE, &ignoredBefore, &ignored);
    ::sigaction(SIGUSR1, &handledBefore, &handled);
    EXPECT_EQ(ignored.sa_handler, SIG_IGN) << "this process keeps its own";
    ::close(leaked);

    for (const char* field : {"SigBlk", "SigIgn", "SigCgt"})
        EXPECT_NE(status.find(std::string(field) + ":\t0000000000000000\n"), std::string::npos) << field;
    EXPECT_EQ(descriptors, "0\n1\n2\n3\n") << "3 is the folder that ls reads";
    EXPECT_EQ(input, "/dev/null\n");
    EXPECT_EQ(group, "1\n");
}

TEST(ChildLauncher, WorksWhenItsOwnStandardStreamsAreClosed) {
    // A pipe then gets the numbers 0 to 2, which the child's streams are to have.
    const pid_t pid = ::fork();
    if (pid == 0) {
        for (const int descriptor : {0, 1, 2})
            ::close(descriptor);
        ::_exit(outputOf({.executable = "/bin/echo", .arguments = {"heard"}}) == "heard\n" ? 0 : 1);
    }
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(LinuxProcessHost, ConfinesAChildAndEndsWhatItLeavesBehind) {
    LinuxProcessHost host;
    if (!host.canConfine())
        GTEST_SKIP() << "this machine cannot confine";
    const TemporaryFolder folder;
    ProcessRunner runner(host);
    const auto run = [&](const std::string& script) {
        return runner.run({.executable = "/bin/zsh",
                           .arguments = {"-c", script, "torvo"},
                           .workingFolder = folder.url(),
                           .confinement = Confinement::readOnly});
    };
    const auto result = run("print no > here; print yes > $TMPDIR/there; cat $TMPDIR/there; print $TMPDIR");
    EXPECT_FALSE((folder / "here").exists());
    const std::string output(result.standardOutput.text());
    ASSERT_EQ(output.substr(0, 5), "yes\n/") << result.standardError.text();
    EXPECT_FALSE(FileURL(output.substr(4, output.size() - 5)).exists()) << "the private folder goes with the run";

    const auto left = run("sleep 300 >&- 2>&- & print -n $!");
    EXPECT_EQ(left.status, 0);
    const auto job = host.identity(std::stoi(std::string(left.standardOutput.text())));
    EXPECT_TRUE(eventually([&] { return !job || host.hasEnded(*job); }));

    EXPECT_FALSE(
        runner.run({.executable = "/usr/bin/nope", .confinement = Confinement::readOnly}).confinementUnavailable)
        << "that is another failure";
}
