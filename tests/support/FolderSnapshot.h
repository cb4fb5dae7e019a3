#pragma once

#include <map>
#include <string>

namespace torvo::testing {

/// Every entry below a folder (the folder itself is ""), each with one text of all that a program could change about
/// it: kind, mode, owner, size, link count, times of change, extended attributes, content or link target.
using FolderSnapshot = std::map<std::string, std::string>;

[[nodiscard]] FolderSnapshot takeSnapshot(const std::string& folder);

} // namespace torvo::testing
