#include "assistance/ToolRun.h"

#include "execution/ProcessRunner.h"
#include "support/AtomicFile.h"
#include "support/Descriptor.h"
#include "support/Text.h"
#include "support/Utf8.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace torvo {

std::string ToolRun::reason() const {
    const auto lines = isValidUTF8(output) ? splitLines(output) : std::vector<std::string_view>{};
    return lines.empty() ? fmt::format("exit {}", status) : std::string(lines.back());
}

std::expected<ToolRun, std::string> runTool(ProcessHost& host, const std::string& executable,
                                            const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::unexpected(systemErrorText(errno));
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    const auto child = host.launch({.executable = executable,
                                    .arguments = arguments,
                                    .environment = ownEnvironment(),
                                    .standardOutput = writeEnd.get(),
                                    .standardError = writeEnd.get()});
    if (!child)
        return std::unexpected(child.error().description);
    writeEnd.reset();
    ToolRun run;
    // What was read before an error is still worth something.
    (void)readAll(readEnd.get(), run.output);
    run.status = host.reap(*child);
    return run;
}

} // namespace torvo
