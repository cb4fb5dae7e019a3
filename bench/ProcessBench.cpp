// What running a child, taking in its output, watching folders and cancelling cost beside the least they could.
#include "Ratio.h"
#include "execution/FolderSnapshot.h"
#include "execution/ProcessRunner.h"
#include "linux/LinuxProcessHost.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

using namespace torvo;
using namespace torvo::bench;

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "ProcessBench: %s\n", what);
    std::exit(1);
}

/// The bare way to start a program: its output goes to `output`, or nowhere.
pid_t startBare(char* const* arguments, int output) {
    const pid_t pid = ::vfork();
    if (pid == 0) {
        if (output >= 0)
            ::dup2(output, 1);
        ::execv(arguments[0], arguments);
        ::_exit(127);
    }
    return pid;
}

void runBare() {
    static char zsh[] = "/bin/zsh";
    static char option[] = "-c";
    static char script[] = "true";
    static char* const arguments[] = {zsh, option, script, nullptr};
    ::waitpid(startBare(arguments, -1), nullptr, 0);
}

void runCollected(ProcessRunner& runner) {
    if (runner.run({.executable = "/bin/zsh", .arguments = {"-c", "true"}}).status != 0)
        fail("zsh does not run");
}

void benchSpawn(ProcessRunner& runner) {
    const auto bare = [] {
        for (int i = 0; i < 10; ++i)
            runBare();
    };
    const auto collected = [&runner] {
        for (int i = 0; i < 10; ++i)
            runCollected(runner);
    };
    reportRatio("run zsh -c true, streams collected (x10)", bare, collected, 1.15, 41);

    // Growth with the size of this process: the same work, with and without 300 MB in use.
    constexpr std::size_t kBallast = std::size_t{300} << 20;
    std::vector<double> small;
    std::vector<double> large;
    for (int i = 0; i < 15; ++i) {
        small.push_back(secondsOf(collected));
        const std::unique_ptr<char, decltype(&std::free)> ballast(static_cast<char*>(std::malloc(kBallast)),
                                                                  &std::free);
        std::memset(ballast.get(), i + 1, kBallast);
        large.push_back(secondsOf(collected));
    }
    reportValue("  the same while holding 300 MB more, growth", median(large) / median(small), "times", 1.1);
}

constexpr std::size_t kOutput = 200'000'000;

void benchCapture(ProcessRunner& runner) {
    const std::string count = std::to_string(kOutput);
    const auto discard = [&count] {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            fail("no pipe");
        std::string program = "/usr/bin/head";
        std::string option = "-c";
        std::string number = count;
        std::string file = "/dev/zero";
        char* const arguments[] = {program.data(), option.data(), number.data(), file.data(), nullptr};
        const pid_t pid = startBare(arguments, ends[1]);
        ::close(ends[1]);
        static char buffer[std::size_t{64} << 10];
        std::size_t total = 0;
        for (ssize_t got = 0; (got = ::read(ends[0], buffer, sizeof buffer)) > 0;)
            total += static_cast<std::size_t>(got);
        ::close(ends[0]);
        ::waitpid(pid, nullptr, 0);
        if (total != kOutput)
            fail("output was lost");
    };
    const auto capture = [&runner, &count] {
        const auto result = runner.run({.executable = "/usr/bin/head", .arguments = {"-c", count, "/dev/zero"}});
        if (result.standardOutput.bytes().size() != kOutput)
            fail("output was lost");
    };
    reportRatio("capture 200 MB of output", discard, capture, 2.0, 9);
}

void listBare(const std::string& folder) {
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    static char buffer[std::size_t{32} << 10];
    while (::syscall(SYS_getdents64, descriptor, buffer, sizeof buffer) > 0) {
    }
    ::close(descriptor);
}

std::size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void benchSnapshot() {
    constexpr int kEntries = 100'000;
    std::string folder = (std::filesystem::temp_directory_path() / "torvo-bench-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr)
        fail("no temporary folder");
    for (int i = 0; i < kEntries; ++i)
        ::close(::open(fmt::format("{}/holiday picture {:06}.jpg", folder, i).c_str(), O_CREAT | O_WRONLY, 0600));

    const std::vector<FileURL> folders{FileURL(folder)};
    const auto bare = [&folder] {
        listBare(folder);
        listBare(folder);
    };
    const auto compare = [&folders] {
        if (!FolderSnapshot::of(folders).newFiles().empty())
            fail("files from nowhere");
    };
    reportRatio("new files in a folder of 100,000", bare, compare, 2.0);

    const std::string replaced = folder + "/replaced";
    const auto compareChanged = [&] {
        const auto before = FolderSnapshot::of(folders);
        std::filesystem::rename(folder + "/holiday picture 000500.jpg", replaced);
        if (before.newFiles().size() != 1)
            fail("one new file expected");
        std::filesystem::rename(replaced, folder + "/holiday picture 000500.jpg");
    };
    reportRatio("  the same with one file renamed between", bare, compareChanged, 2.0);

    const std::size_t before = residentBytes();
    const auto snapshot = FolderSnapshot::of(folders);
    reportValue("  memory", static_cast<double>(residentBytes() - before) / kEntries, "bytes an entry", 80);
    std::filesystem::remove_all(folder);
}

/// Sees the moment at which the last process of the tree was asked to end.
class TimingHost : public LinuxProcessHost {
  public:
    void signalGroup(std::int32_t child, StopSignal signal) override {
        LinuxProcessHost::signalGroup(child, signal);
        if (signal == StopSignal::terminate)
            lastTerm = std::chrono::steady_clock::now();
    }
    std::int32_t launchedChild() const { return m_launched; }
    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) override {
        auto launched = LinuxProcessHost::launch(request);
        m_launched = launched.value_or(0);
        return launched;
    }

    std::chrono::steady_clock::time_point lastTerm;

  private:
    std::atomic<std::int32_t> m_launched = 0;
};

void benchCancel() {
    std::vector<double> times;
    for (int i = 0; i < 15; ++i) {
        TimingHost host;
        ProcessRunner runner(host);
        std::thread running([&runner] {
            (void)runner.run(
                {.executable = "/bin/zsh", .arguments = {"-c", "for i in {1..9}; do /bin/sleep 60 & done; wait"}});
        });
        while (host.launchedChild() == 0 || host.children(host.launchedChild()).size() < 9)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto start = std::chrono::steady_clock::now();
        runner.cancel();
        times.push_back(std::chrono::duration<double, std::milli>(host.lastTerm - start).count());
        running.join();
    }
    reportValue("cancel to TERM, a tree of 10 processes", median(times), "ms", 1.0);
}

} // namespace

int main() {
    LinuxProcessHost host;
    ProcessRunner runner(host);
    benchSpawn(runner);
    benchCapture(runner);
    benchSnapshot();
    benchCancel();
}
