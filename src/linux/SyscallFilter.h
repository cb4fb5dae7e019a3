#pragma once

#include <linux/filter.h>

#include <vector>

namespace torvo {

/// What the filter has to cover because the running kernel's Landlock does not.
struct SyscallFilterOptions {
    /// Refuse every real signal. Otherwise signals are left to Landlock's scope, which lets them through to the
    /// confined processes alone. Asking with signal 0 is allowed either way: zsh polls its children like that.
    bool refuseSignals = false;
    /// Refuse truncation by path, and opening for reading with O_TRUNC, which truncates too.
    bool refuseTruncation = false;
};

/// The seccomp program that refuses what changes the machine without writing to a file through a path: modes, owners,
/// times and attributes, sockets, other processes, namespaces, mounts, keys, shared memory that outlives its maker, and
/// the machine's own settings. A refused call answers EPERM; clone3 and numbers that this program does not know answer
/// ENOSYS, so that the C library falls back to older calls. A call made for another processor type (32-bit code on a
/// 64-bit machine) ends its process, since none of the numbers mean the same there.
[[nodiscard]] std::vector<sock_filter> makeSyscallFilter(SyscallFilterOptions options);

} // namespace torvo
