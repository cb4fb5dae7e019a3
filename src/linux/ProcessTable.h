#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// What the kernel says about processes in the files below /proc (proc(5)).
namespace torvo::process_table {

/// The fields of /proc/PID/stat that matter here.
struct Status {
    char state = '?';
    std::int32_t parent = 0;
    /// Start time in clock ticks since boot.
    std::uint64_t startTicks = 0;

    /// Ended, and only kept until its parent asks for the exit status.
    [[nodiscard]] bool isZombie() const { return state == 'Z' || state == 'X'; }
};

/// Reads the text of a stat file; absent when it is not one. The command name may hold spaces and parentheses.
[[nodiscard]] std::optional<Status> parseStatus(std::string_view text);
[[nodiscard]] std::optional<Status> status(std::int32_t pid);

/// The direct children of all threads of a process, in the kernel's order.
[[nodiscard]] std::vector<std::int32_t> children(std::int32_t pid);
/// The same for kernels that do not list children: every process whose parent is `pid`, by rising number.
[[nodiscard]] std::vector<std::int32_t> childrenByScan(std::int32_t pid);

/// The processes that have one of these pipes (descriptors of this process) open, this process excepted.
[[nodiscard]] std::vector<std::int32_t> holders(std::span<const int> pipes);

/// Whether the process runs the very program file that this process runs.
[[nodiscard]] bool runsSameProgram(std::int32_t pid);

} // namespace torvo::process_table
