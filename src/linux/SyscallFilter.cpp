#include "linux/SyscallFilter.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>

namespace torvo {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kThisArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kThisArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "No system call filter for this processor yet."
#endif

// Calls younger than the headers of the build machine; since 5.1 the numbers are the same on every processor.
constexpr std::uint32_t kFchmodat2 = 452;
constexpr std::uint32_t kSetxattrat = 463;
constexpr std::uint32_t kRemovexattrat = 466;
constexpr std::uint32_t kOpenTreeAttr = 467;
constexpr std::uint32_t kFileSetattr = 469;
constexpr std::uint32_t kFirstUnknown = 470;

constexpr std::uint32_t kAllow = SECCOMP_RET_ALLOW;
constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
constexpr std::uint32_t kAbsent = SECCOMP_RET_ERRNO | ENOSYS;

using Program = std::vector<sock_filter>;

constexpr sock_filter answer(std::uint32_t verdict) {
    return BPF_STMT(BPF_RET | BPF_K, verdict);
}
constexpr sock_filter load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}
/// The low half of an argument: all that the kernel looks at where the parameter is an int (both processors are little
/// endian).
constexpr sock_filter loadArgument(std::size_t index) {
    return load(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t));
}
constexpr sock_filter loadHighHalf(std::size_t index) {
    return load(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t) + sizeof(std::uint32_t));
}
/// Jumps over `then` instructions when the loaded word passes the test, and over `otherwise` when it does not.
constexpr sock_filter jump(std::uint16_t test, std::uint32_t value, std::size_t then, std::size_t otherwise) {
    return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), value, static_cast<std::uint8_t>(then),
                    static_cast<std::uint8_t>(otherwise));
}

Program allowOnly(std::size_t argument, std::initializer_list<std::uint32_t> values) {
    Program program{loadArgument(argument)};
    for (const std::uint32_t value : values) {
        program.push_back(jump(BPF_JEQ, value, 0, 1));
        program.push_back(answer(kAllow));
    }
    program.push_back(answer(kRefuse));
    return program;
}

Program allowAllBut(std::size_t argument, std::initializer_list<std::uint32_t> values) {
    Program program{loadArgument(argument)};
    for (const std::uint32_t value : values) {
        program.push_back(jump(BPF_JEQ, value, 0, 1));
        program.push_back(answer(kRefuse));
    }
    program.push_back(answer(kAllow));
    return program;
}

Program refuseBits(std::size_t argument, std::uint32_t bits) {
    return {loadArgument(argument), jump(BPF_JSET, bits, 0, 1), answer(kRefuse), answer(kAllow)};
}

/// setpriority: only for the caller itself, which zsh does when it starts a background job.
Program allowOwnPriority() {
    return {loadArgument(0), jump(BPF_JEQ, PRIO_PROCESS, 0, 3), loadArgument(1), jump(BPF_JEQ, 0, 0, 1), answer(kAllow),
            answer(kRefuse)};
}

/// prlimit: reading anybody's limits, changing the caller's own.
Program allowOwnLimits() {
    return {loadArgument(0), jump(BPF_JEQ, 0, 4, 0), loadArgument(2), jump(BPF_JEQ, 0, 0, 3),
            loadHighHalf(2), jump(BPF_JEQ, 0, 0, 1), answer(kAllow),  answer(kRefuse)};
}

/// open with O_TRUNC truncates even when it opens for reading, and then Landlock sees no write before its version 3.
Program refuseTruncatingReader(std::size_t flags) {
    return {loadArgument(flags),
            jump(BPF_JSET, O_TRUNC, 0, 3),
            BPF_STMT(BPF_ALU | BPF_AND | BPF_K, O_ACCMODE),
            jump(BPF_JEQ, O_WRONLY, 1, 0),
            jump(BPF_JEQ, O_RDWR, 0, 1),
            answer(kAllow),
            answer(kRefuse)};
}

constexpr std::uint32_t kForbiddenCloneFlags = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC |
                                               CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET |
                                               // A child of our parent, which would wait for it in vain.
                                               CLONE_PARENT;

constexpr std::initializer_list<std::uint32_t> kHarmlessControls = {
    TCGETS,   0x802c542a /* TCGETS2 */, TIOCGWINSZ,        TIOCGPGRP, FIONREAD, FIOCLEX, FIONCLEX, FIONBIO,
    FIGETBSZ, FS_IOC_GETFLAGS,          FS_IOC_FSGETXATTR,
};

constexpr std::initializer_list<std::uint32_t> kRefusedCalls = {
    // Modes, owners, times, attributes
    SYS_fchmod,
    SYS_fchmodat,
    kFchmodat2,
    SYS_fchown,
    SYS_fchownat,
    SYS_utimensat,
    SYS_setxattr,
    SYS_lsetxattr,
    SYS_fsetxattr,
    SYS_removexattr,
    SYS_lremovexattr,
    SYS_fremovexattr,
    kSetxattrat,
    kRemovexattrat,
    kFileSetattr,
    // Sockets: a pair of datagram sockets can send to any named socket, so no pairs either
    SYS_socket,
    SYS_socketpair,
    SYS_bind,
    SYS_connect,
    SYS_listen,
    SYS_accept,
    SYS_accept4,
    // Other processes, and leaving the process group by which the launcher ends everything that was started
    SYS_ptrace,
    SYS_process_vm_readv,
    SYS_process_vm_writev,
    SYS_process_madvise,
    SYS_process_mrelease,
    SYS_pidfd_getfd,
    SYS_kcmp,
    SYS_migrate_pages,
    SYS_move_pages,
    SYS_setsid,
    SYS_setpgid,
    SYS_ioprio_set,
    // Namespaces and mounts
    SYS_unshare,
    SYS_setns,
    SYS_mount,
    SYS_umount2,
    SYS_pivot_root,
    SYS_chroot,
    SYS_open_tree,
    kOpenTreeAttr,
    SYS_move_mount,
    SYS_fsopen,
    SYS_fsconfig,
    SYS_fsmount,
    SYS_fspick,
    SYS_mount_setattr,
    SYS_open_by_handle_at,
    // Objects that outlive their maker
    SYS_shmget,
    SYS_shmat,
    SYS_shmctl,
    SYS_semget,
    SYS_semop,
    SYS_semctl,
    SYS_semtimedop,
    SYS_msgget,
    SYS_msgsnd,
    SYS_msgrcv,
    SYS_msgctl,
    SYS_mq_open,
    SYS_mq_unlink,
    SYS_mq_timedsend,
    SYS_mq_timedreceive,
    SYS_mq_notify,
    SYS_mq_getsetattr,
    SYS_add_key,
    SYS_request_key,
    SYS_keyctl,
    // Ways around the other rules
    SYS_io_uring_setup,
    SYS_io_uring_enter,
    SYS_io_uring_register,
    SYS_bpf,
    SYS_perf_event_open,
    SYS_userfaultfd,
    SYS_fanotify_init,
    SYS_fanotify_mark,
    // The machine
    SYS_kexec_load,
    SYS_init_module,
    SYS_finit_module,
    SYS_delete_module,
    SYS_reboot,
    SYS_swapon,
    SYS_swapoff,
    SYS_acct,
    SYS_settimeofday,
    SYS_clock_settime,
    SYS_clock_adjtime,
    SYS_adjtimex,
    SYS_sethostname,
    SYS_setdomainname,
    SYS_quotactl,
    SYS_quotactl_fd,
    SYS_vhangup,
    SYS_syslog,
#ifdef SYS_kexec_file_load
    SYS_kexec_file_load,
#endif
#ifdef __x86_64__
    SYS_chmod,
    SYS_chown,
    SYS_lchown,
    SYS_utime,
    SYS_utimes,
    SYS_futimesat,
    SYS_uselib,
    SYS_iopl,
    SYS_ioperm,
#endif
};

using Rules = std::map<std::uint32_t, Program>;

Rules makeRules(SyscallFilterOptions options) {
    Rules rules;
    for (const std::uint32_t call : kRefusedCalls)
        rules[call] = {answer(kRefuse)};
    // The filter cannot look at the flags behind a pointer; without clone3 the C library uses clone.
    rules[SYS_clone3] = {answer(kAbsent)};
    rules[SYS_clone] = refuseBits(0, kForbiddenCloneFlags);
    rules[SYS_ioctl] = allowOnly(1, kHarmlessControls);
    // Signals to the owner of a descriptor, and leases that hold up others who open the file.
    rules[SYS_fcntl] = allowAllBut(1, {F_SETOWN, F_SETOWN_EX, F_SETSIG, F_SETLEASE});
    rules[SYS_setpriority] = allowOwnPriority();
    rules[SYS_prlimit64] = allowOwnLimits();
    for (const std::uint32_t call :
         {SYS_sched_setaffinity, SYS_sched_setscheduler, SYS_sched_setparam, SYS_sched_setattr})
        rules[call] = allowOnly(0, {0});
    if (options.refuseSignals) {
        for (const std::uint32_t call : {SYS_kill, SYS_tkill, SYS_rt_sigqueueinfo, SYS_pidfd_send_signal})
            rules[call] = allowOnly(1, {0});
        for (const std::uint32_t call : {SYS_tgkill, SYS_rt_tgsigqueueinfo})
            rules[call] = allowOnly(2, {0});
    }
    if (options.refuseTruncation) {
        rules[SYS_truncate] = {answer(kRefuse)};
        rules[SYS_openat] = refuseTruncatingReader(2);
        rules[SYS_openat2] = {answer(kAbsent)};
#ifdef __x86_64__
        rules[SYS_open] = refuseTruncatingReader(1);
#endif
    }
    rules[kFirstUnknown] = {answer(kAbsent)};
    return rules;
}

/// Call numbers from `first` up to the next stretch are all treated by `program`.
struct Stretch {
    std::uint32_t first = 0;
    Program program;
};

std::vector<Stretch> stretches(const Rules& rules) {
    const Program allow{answer(kAllow)};
    std::vector<Stretch> result{{.first = 0, .program = allow}};
    for (const auto& [number, program] : rules) {
        result.push_back({.first = number, .program = program});
        if (number != kFirstUnknown && !rules.contains(number + 1))
            result.push_back({.first = number + 1, .program = allow});
    }
    return result;
}

/// A binary search for the stretch of the loaded call number: on a refused call it costs a few comparisons, and the
/// kernel, which tries all numbers out when the filter is set, is done sooner than with a list.
Program search(const Stretch* begin, const Stretch* end) {
    if (end - begin == 1)
        return begin->program;
    const Stretch* middle = begin + (end - begin) / 2;
    const Program below = search(begin, middle);
    const Program above = search(middle, end);
    Program program;
    if (below.size() <= 255) {
        program.push_back(jump(BPF_JGE, middle->first, below.size(), 0));
    } else {
        // A conditional jump reaches 255 instructions; an unconditional one reaches everywhere.
        program.push_back(jump(BPF_JGE, middle->first, 0, 1));
        program.push_back(BPF_STMT(BPF_JMP | BPF_JA, static_cast<std::uint32_t>(below.size())));
    }
    program.insert(program.end(), below.begin(), below.end());
    program.insert(program.end(), above.begin(), above.end());
    return program;
}

} // namespace

std::vector<sock_filter> makeSyscallFilter(SyscallFilterOptions options) {
    Program program{load(offsetof(seccomp_data, arch)), jump(BPF_JEQ, kThisArchitecture, 1, 0),
                    answer(SECCOMP_RET_KILL_PROCESS), load(offsetof(seccomp_data, nr))};
    const std::vector<Stretch> calls = stretches(makeRules(options));
    const Program choice = search(calls.data(), calls.data() + calls.size());
    program.insert(program.end(), choice.begin(), choice.end());
    return program;
}

} // namespace torvo
