#pragma once

#include "support/FileURL.h"

#include <expected>
#include <string>

namespace torvo {

/// Moves a file, a link or a folder to a name that is free. Never overwrites: when the name is taken by then, the move
/// fails. Across file systems the item is copied with its times, permissions and, as far as the other file system keeps
/// them, access lists and extended attributes, written to the disk, and only then removed; an item that somebody
/// changes meanwhile stays. The error is one line for the user: the item is then where it was, or the line says where
/// what is left of it is.
[[nodiscard]] std::expected<void, std::string> moveFile(const FileURL& from, const FileURL& to);

} // namespace torvo
