#include "tests/support/Bystanders.h"

#include "tests/support/Eventually.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace torvo::testing {

namespace {

void tell(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);
}

void require(bool done, const char* what) {
    if (!done)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

int boundTo(int type, const sockaddr* address, socklen_t length) {
    const int descriptor = ::socket(address->sa_family, type | SOCK_CLOEXEC, 0);
    require(descriptor >= 0 && ::bind(descriptor, address, length) == 0, "bind");
    require(type != SOCK_STREAM || ::listen(descriptor, 5) == 0, "listen");
    return descriptor;
}

int onLoopback(int type, const char* variable) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const int descriptor = boundTo(type, reinterpret_cast<sockaddr*>(&address), length);
    ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
    tell(variable, std::to_string(ntohs(address.sin_port)));
    return descriptor;
}

/// `name`: a path, or an abstract name after a NUL.
int onUnixSocket(int type, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    return boundTo(type, reinterpret_cast<sockaddr*>(&address),
                   static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size()));
}

/// A file of /proc; empty when its process has gone, also while it is read.
std::string readProcFile(const std::string& path) {
    return readFile(FileURL(path));
}

/// A process of that name (15 bytes at most) that waits for a signal, alone in its group.
pid_t startProcess(const std::string& name) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::prctl(PR_SET_NAME, name.c_str());
        ::setpgid(0, 0);
        while (true)
            ::pause();
    }
    require(child > 0, "fork");
    ::setpgid(child, child);
    return child;
}

} // namespace

Bystanders::Bystanders() {
    static std::atomic<int> count = 0;
    m_mark = fmt::format("torvo-mark-{}-{}", ::getpid(), ++count);
    m_forever = fmt::format("300.{}{}", ::getpid(), count.load());

    m_folder.file("a.txt", "alpha\nbeta\nbeta\n");
    m_folder.file("b.txt", "one\ntwo\n");
    m_folder.file("dir/inner.txt", "inner\n");
    m_folder.folder("empty");
    std::filesystem::create_symlink("a.txt", (m_folder / "link").path());
    require(::mkfifo((m_folder / "pipe").path().c_str(), 0600) == 0, "mkfifo");

    m_listeners = {onLoopback(SOCK_STREAM, "PORT"), onLoopback(SOCK_DGRAM, "DATAGRAM_PORT"),
                   onUnixSocket(SOCK_STREAM, (m_sockets / "stream").path()),
                   onUnixSocket(SOCK_DGRAM, (m_sockets / "datagram").path()),
                   onUnixSocket(SOCK_STREAM, std::string(1, '\0') + m_mark)};
    // A name of its own: tests that run at the same time end processes by name.
    const auto name = fmt::format("by{}x{}", ::getpid(), count.load());
    m_process = startProcess(name);
    require(eventually([&] { return processState().starts_with("S " + name); }), "the bystander does not wait");

    tell("OUTSIDE", std::to_string(m_process));
    tell("NAME", name);
    tell("SOCKET", (m_sockets / "stream").path());
    tell("DATAGRAM", (m_sockets / "datagram").path());
    tell("ABSTRACT", m_mark);
    tell("MARK", m_mark);
    tell("FOREVER", m_forever);
    m_before = takeSnapshot(m_folder.path());
    m_processBefore = processState();
}

Bystanders::~Bystanders() {
    for (const int listener : m_listeners)
        ::close(listener);
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    for (const std::string& path : litter())
        std::filesystem::remove_all(path);
}

std::vector<std::string> Bystanders::selection() const {
    return {(m_folder / "a.txt").path(), (m_folder / "b.txt").path()};
}

std::string Bystanders::processState() const {
    const std::string folder = fmt::format("/proc/{}/", m_process);
    const std::string stat = readProcFile(folder + "stat");
    const std::size_t name = stat.rfind(')');
    if (name == std::string::npos)
        return "gone";
    rlimit files{};
    ::prlimit(m_process, RLIMIT_NOFILE, nullptr, &files);
    cpu_set_t processors;
    ::sched_getaffinity(m_process, sizeof processors, &processors);
    return fmt::format("{} {} nice {} oom {} files {} scheduler {} processors {} io {}", stat[name + 2],
                       readProcFile(folder + "comm"), ::getpriority(PRIO_PROCESS, static_cast<id_t>(m_process)),
                       readProcFile(folder + "oom_score_adj"), files.rlim_cur, ::sched_getscheduler(m_process),
                       CPU_COUNT(&processors), ::syscall(SYS_ioprio_get, 1, m_process));
}

std::vector<std::string> Bystanders::litter() const {
    std::vector<std::string> found;
    const char* home = std::getenv("HOME");
    for (const std::string& place : {std::string("/tmp"), std::string("/var/tmp"), std::string("/dev/shm"),
                                     std::string(home != nullptr ? home : "/root")})
        if (const std::string path = place + "/" + m_mark; ::access(path.c_str(), F_OK) == 0)
            found.push_back(path);
    return found;
}

std::vector<pid_t> Bystanders::leftovers() const {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos || name == std::to_string(::getpid()))
            continue;
        for (const char* file : {"/cmdline", "/environ"})
            if (readProcFile(entry.path().string() + file).find(m_forever) != std::string::npos) {
                found.push_back(static_cast<pid_t>(std::stoi(name)));
                break;
            }
    }
    return found;
}

std::vector<std::string> Bystanders::harm() {
    std::vector<std::string> harms;
    const FolderSnapshot after = takeSnapshot(m_folder.path());
    for (const auto& [path, before] : m_before)
        if (const auto now = after.find(path); now == after.end() || now->second != before)
            harms.push_back(path + ": " + before + " -> " + (now == after.end() ? "gone" : now->second));
    for (const auto& [path, now] : after)
        if (!m_before.contains(path))
            harms.push_back(path + " is new");
    if (const std::string now = processState(); now != m_processBefore)
        harms.push_back("the process: " + m_processBefore + " -> " + now);
    for (std::size_t i = 0; i < m_listeners.size(); ++i)
        if (pollfd listener{m_listeners[i], POLLIN, 0}; ::poll(&listener, 1, 0) > 0)
            harms.push_back(fmt::format("listener {} was reached", i));
    for (const std::string& path : litter())
        harms.push_back(path + " is new");
    for (const pid_t process : leftovers()) {
        // A killed process may take a moment to go.
        if (eventually(
                [&] {
                    const std::string stat = readProcFile(fmt::format("/proc/{}/stat", process));
                    const std::size_t name = stat.rfind(')');
                    return name == std::string::npos || stat[name + 2] == 'Z';
                },
                std::chrono::seconds(1)))
            continue;
        harms.push_back(fmt::format("process {} was left over", process));
        ::kill(process, SIGKILL);
    }
    return harms;
}

} // namespace torvo::testing
