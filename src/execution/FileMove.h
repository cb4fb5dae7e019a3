#pragma once

#include "support/FileURL.h"

#include <expected>
#include <string>

namespace torvo {

/// Moves a file, a link or a folder to a name that is free. Never overwrites: when the name is taken by then, the move
/// fails (renameat2(2) with RENAME_NOREPLACE). Across file systems the item is copied with its times and permissions,
/// written to the disk, and only then removed. The error is one line for the user; the item is then where it was.
[[nodiscard]] std::expected<void, std::string> moveFile(const FileURL& from, const FileURL& to);

} // namespace torvo
