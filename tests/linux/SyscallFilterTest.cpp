#include "linux/SyscallFilter.h"

#include "linux/Confinement.h"
#include "linux/RawSyscall.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <vector>

namespace torvo {
namespace {

/// One call with arguments that do nothing (or nothing bad) even if it were let through, and what it must answer.
struct Call {
    const char* name;
    long number;
    std::array<long, 5> arguments;
    long answer;
};

/// The answers of all calls, made one after another in a child that the confinement is applied to.
std::vector<long> answersWhenConfined(const PreparedConfinement& confinement, const std::vector<Call>& calls) {
    std::array<int, 2> channel{};
    if (::pipe(channel.data()) != 0)
        return {};
    const pid_t child = ::fork();
    if (child == 0) {
        if (confinement.apply() != 0)
            ::_exit(1);
        for (const auto& [name, number, arguments, expected] : calls) {
            const long answer =
                rawSyscall(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4]);
            if (::write(channel[1], &answer, sizeof answer) != sizeof answer)
                ::_exit(2);
        }
        ::_exit(0);
    }
    ::close(channel[1]);
    std::vector<long> answers;
    for (long answer = 0; ::read(channel[0], &answer, sizeof answer) == sizeof answer;)
        answers.push_back(answer);
    ::close(channel[0]);
    ::waitpid(child, nullptr, 0);
    return answers;
}

void expectAnswers(int landlockLimit, const std::vector<Call>& calls) {
    const auto confinement = PreparedConfinement::prepare(landlockLimit);
    ASSERT_TRUE(confinement) << confinement.error();
    const std::vector<long> answers = answersWhenConfined(*confinement, calls);
    ASSERT_EQ(answers.size(), calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_EQ(answers[i], calls[i].answer) << calls[i].name << " with Landlock limited to " << landlockLimit;
}

long address(const void* pointer) {
    return reinterpret_cast<long>(pointer);
}

class SyscallFilter : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!confinementWorks())
            GTEST_SKIP() << "this machine cannot confine";
    }

    testing::TemporaryFolder m_folder;
    std::string m_file = m_folder.file("file", "content").path();
    const char* m_path = m_file.c_str();
    int m_open = ::open(m_path, O_RDWR | O_CLOEXEC);
};

TEST_F(SyscallFilter, CallsThatNeedNoPathToDoHarmAreRefused) {
    const long path = address(m_path);
    const long here = AT_FDCWD;
    const long parent = ::getpid();
    const rlimit files{.rlim_cur = 100, .rlim_max = 100};
    const int flags = FS_NODUMP_FL;
    const timespec times[2] = {};
    const std::vector<Call> calls = {
        // The first ones work on a descriptor that is open for writing, which Landlock lets through.
        {"fchmod", SYS_fchmod, {m_open, 0777}, -EPERM},
        {"fchown", SYS_fchown, {m_open, 0, 0}, -EPERM},
        {"futimens", SYS_utimensat, {m_open, 0, address(times), 0}, -EPERM},
        {"fsetxattr", SYS_fsetxattr, {m_open, address("user.a"), address("b"), 1, 0}, -EPERM},
        {"fremovexattr", SYS_fremovexattr, {m_open, address("user.a")}, -EPERM},
        {"ioctl FS_IOC_SETFLAGS", SYS_ioctl, {m_open, FS_IOC_SETFLAGS, address(&flags)}, -EPERM},
        {"ioctl with high bits",
         SYS_ioctl,
         {m_open, static_cast<long>(1L << 32 | FS_IOC_SETFLAGS), address(&flags)},
         -EPERM},
        {"ioctl FICLONE", SYS_ioctl, {m_open, FICLONE, m_open}, -EPERM},
        {"ioctl TIOCSTI", SYS_ioctl, {0, TIOCSTI, address("x")}, -EPERM},
        {"fchmodat", SYS_fchmodat, {here, path, 0777}, -EPERM},
        {"fchmodat2", 452, {here, path, 0777, 0}, -EPERM},
        {"fchownat", SYS_fchownat, {here, path, 0, 0, 0}, -EPERM},
        {"utimensat", SYS_utimensat, {here, path, 0, 0}, -EPERM},
        {"setxattr", SYS_setxattr, {path, address("user.a"), address("b"), 1, 0}, -EPERM},
        {"lsetxattr", SYS_lsetxattr, {path, address("user.a"), address("b"), 1, 0}, -EPERM},
        {"setxattrat", 463, {here, path, 0, address("user.a"), 0}, -EPERM},
        {"removexattr", SYS_removexattr, {path, address("user.a")}, -EPERM},
        {"removexattrat", 466, {here, path, 0, address("user.a")}, -EPERM},
        {"file_setattr", 469, {here, path, 0, 0, 0}, -EPERM},
        {"fcntl F_SETOWN", SYS_fcntl, {m_open, F_SETOWN, parent}, -EPERM},
        {"fcntl F_SETSIG", SYS_fcntl, {m_open, F_SETSIG, SIGKILL}, -EPERM},
        {"fcntl F_SETLEASE", SYS_fcntl, {m_open, F_SETLEASE, F_WRLCK}, -EPERM},
        {"socket", SYS_socket, {AF_INET, SOCK_DGRAM, 0}, -EPERM},
        {"socket netlink", SYS_socket, {AF_NETLINK, SOCK_RAW, 0}, -EPERM},
        {"socketpair", SYS_socketpair, {AF_UNIX, SOCK_DGRAM, 0, 0}, -EPERM},
        {"ptrace attach", SYS_ptrace, {16, parent}, -EPERM},
        {"process_vm_writev", SYS_process_vm_writev, {parent}, -EPERM},
        {"pidfd_getfd", SYS_pidfd_getfd, {-1, 0}, -EPERM},
        {"setsid", SYS_setsid, {}, -EPERM},
        {"setpgid", SYS_setpgid, {0, 0}, -EPERM},
        {"setpriority of the parent", SYS_setpriority, {PRIO_PROCESS, parent, 0}, -EPERM},
        {"setpriority of a user", SYS_setpriority, {PRIO_USER, 0, 0}, -EPERM},
        {"prlimit of the parent", SYS_prlimit64, {parent, RLIMIT_NOFILE, address(&files)}, -EPERM},
        {"sched_setaffinity of the parent", SYS_sched_setaffinity, {parent, 0, 0}, -EPERM},
        {"unshare", SYS_unshare, {CLONE_NEWUSER}, -EPERM},
        {"setns", SYS_setns, {-1, 0}, -EPERM},
        {"clone into a namespace", SYS_clone, {CLONE_NEWUSER | SIGCHLD}, -EPERM},
        {"clone of a sibling", SYS_clone, {CLONE_PARENT | SIGCHLD}, -EPERM},
        {"clone3", SYS_clone3, {0, 0}, -ENOSYS},
        {"mount", SYS_mount, {0, 0, 0, 0, 0}, -EPERM},
        {"fsopen", SYS_fsopen, {0, 0}, -EPERM},
        {"open_tree_attr", 467, {here, 0}, -EPERM},
        {"open_by_handle_at", SYS_open_by_handle_at, {here, 0, 0}, -EPERM},
        {"shmget", SYS_shmget, {0, 4096, 0}, -EPERM},
        {"msgget", SYS_msgget, {0x70770001, 0}, -EPERM},
        {"mq_open", SYS_mq_open, {address("torvo"), O_RDONLY, 0, 0}, -EPERM},
        {"add_key", SYS_add_key, {0, 0, 0, 0, 0}, -EPERM},
        {"keyctl", SYS_keyctl, {-1}, -EPERM},
        {"io_uring_setup", SYS_io_uring_setup, {1, 0}, -EPERM},
        {"bpf", SYS_bpf, {-1, 0, 0}, -EPERM},
        {"perf_event_open", SYS_perf_event_open, {0, 0, -1, -1, 0}, -EPERM},
        {"userfaultfd", SYS_userfaultfd, {-1}, -EPERM},
        {"init_module", SYS_init_module, {0, 0, 0}, -EPERM},
        {"reboot", SYS_reboot, {0, 0, 0}, -EPERM},
        {"swapoff", SYS_swapoff, {0}, -EPERM},
        {"clock_settime", SYS_clock_settime, {-1, 0}, -EPERM},
        {"sethostname", SYS_sethostname, {0, -1}, -EPERM},
        {"a call of a later kernel", 9999, {}, -ENOSYS},
#ifdef __x86_64__
        {"chmod", SYS_chmod, {path, 0777}, -EPERM},
        {"lchown", SYS_lchown, {path, 0, 0}, -EPERM},
        {"utime", SYS_utime, {path, 0}, -EPERM},
        {"utimes", SYS_utimes, {path, 0}, -EPERM},
        {"futimesat", SYS_futimesat, {here, path, 0}, -EPERM},
        {"iopl", SYS_iopl, {0}, -EPERM},
        {"chmod by its x32 number", SYS_chmod | 0x40000000, {path, 0777}, -ENOSYS},
        {"setxattr by its x32 number", SYS_setxattr | 0x40000000, {path, 0, 0, 0, 0}, -ENOSYS},
#endif
    };
    for (const int limit : {PreparedConfinement::kNoLimit, 1})
        expectAnswers(limit, calls);
}

TEST_F(SyscallFilter, WhatCommandsDoToThemselvesStaysAllowed) {
    const long nobody = 0x3ffffffe;
    const rlimit files{.rlim_cur = 100, .rlim_max = 100};
    rlimit limits{};
    int bytes = 0;
    const std::vector<Call> calls = {
        {"asking for a process", SYS_kill, {0, 0}, 0},
        {"asking for nobody", SYS_kill, {nobody, 0}, -ESRCH},
        {"own priority", SYS_setpriority, {PRIO_PROCESS, 0, 0}, 0},
        {"own limits", SYS_prlimit64, {0, RLIMIT_NOFILE, address(&files)}, 0},
        {"limits of the parent", SYS_prlimit64, {::getpid(), RLIMIT_NOFILE, 0, address(&limits)}, 0},
        {"ioctl FIONREAD", SYS_ioctl, {m_open, FIONREAD, address(&bytes)}, 0},
        {"fcntl F_GETFD", SYS_fcntl, {0, F_GETFD}, 0},
    };
    expectAnswers(PreparedConfinement::kNoLimit, calls);
}

TEST_F(SyscallFilter, WhatAnOlderLandlockLeavesOpenIsRefusedByTheFilter) {
    const long path = address(m_path);
    const long parent = ::getpid();
    // Signal 0x40 is none, so even a call that is let through sends nothing.
    expectAnswers(5, {{"kill", SYS_kill, {parent, 0x40 + 1}, -EPERM},
                      {"tkill", SYS_tkill, {parent, 0x40 + 1}, -EPERM},
                      {"tgkill", SYS_tgkill, {parent, parent, 0x40 + 1}, -EPERM},
                      {"rt_sigqueueinfo", SYS_rt_sigqueueinfo, {parent, 0x40 + 1, 0}, -EPERM},
                      {"pidfd_send_signal", SYS_pidfd_send_signal, {-1, 0x40 + 1, 0, 0}, -EPERM}});
    expectAnswers(2, {{"truncate", SYS_truncate, {path, 0}, -EPERM},
                      {"openat to read and truncate", SYS_openat, {AT_FDCWD, path, O_RDONLY | O_TRUNC}, -EPERM},
                      {"openat for control and truncate", SYS_openat, {AT_FDCWD, path, O_ACCMODE | O_TRUNC}, -EPERM},
                      {"openat to write and truncate", SYS_openat, {AT_FDCWD, path, O_WRONLY | O_TRUNC}, -EACCES},
                      {"openat2", SYS_openat2, {AT_FDCWD, path, 0, 0}, -ENOSYS}});
    EXPECT_EQ(testing::readFile(FileURL(m_file)), "content");
}

} // namespace
} // namespace torvo
