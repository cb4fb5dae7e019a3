#pragma once

#include "platform/ProcessHost.h"

#include <cstdint>
#include <expected>
#include <stop_token>
#include <string>
#include <vector>

namespace torvo {

/// What a helper program said on both of its streams, in the order in which it said it, and how it ended.
struct ToolRun {
    std::int32_t status = 0;
    std::string output;

    /// The last line that is not empty; "exit N" when there is none, or the output is not UTF-8.
    [[nodiscard]] std::string reason() const;
};

/// Runs a program with this process's own environment to its end; blocks. What it left running may keep its streams
/// open: they are read a moment longer, no more. A stop ends it with everything in its process group. The error says
/// why it could not be started.
[[nodiscard]] std::expected<ToolRun, std::string> runTool(ProcessHost& host, const std::string& executable,
                                                          const std::vector<std::string>& arguments,
                                                          const std::stop_token& stop);

} // namespace torvo
