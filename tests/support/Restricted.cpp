#include "tests/support/Restricted.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <thread>

namespace torvo::testing {

namespace {

/// renameat2(2) with RENAME_NOREPLACE gives EINVAL.
void forbidSafeRename() {
    std::array<sock_filter, 6> filter{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 4 * sizeof(__u64)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, RENAME_NOREPLACE, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    EXPECT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    EXPECT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

} // namespace

void runRestricted(const Restrictions& restrictions, const std::function<void()>& task) {
    std::jthread([&] {
        // By the bare calls, which change this thread alone.
        if (restrictions.asNobody) {
            EXPECT_EQ(::syscall(SYS_setresgid, kNobody, kNobody, kNobody), 0);
            EXPECT_EQ(::syscall(SYS_setresuid, kNobody, kNobody, kNobody), 0);
        }
        if (restrictions.withoutSafeRename)
            forbidSafeRename();
        task();
    });
}

} // namespace torvo::testing
