#pragma once

#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// The folder that a row of path buttons stands for. `crumbs`: their texts, the outermost first; the outermost one is
/// "/", or stands for one of `roots` (a home folder, a volume) under some name, or for the root under
/// none. Absent when no such folder exists.
[[nodiscard]] std::optional<std::string> folderOfBreadcrumbs(const std::vector<std::string>& crumbs,
                                                             const std::vector<std::string>& roots);

/// The home folder of a running process, as its environment says; absent when that cannot be read.
[[nodiscard]] std::optional<std::string> homeOfProcess(int pid);

} // namespace torvo
