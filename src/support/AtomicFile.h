#pragma once

#include "support/FileURL.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace torvo {

/// Reading and writing files, so that a power cut or a full disk leaves what was there or what is new, never a part.
/// Results are error numbers of errno(3); 0 is success.

/// What an error number means, as one line.
[[nodiscard]] std::string systemErrorText(int code);

/// Makes a folder and those above it, for the user alone.
[[nodiscard]] int makeFolders(const FileURL& folder);

/// Appends what can be read from a descriptor to `bytes`, to its end or until more than `limit` bytes are there.
[[nodiscard]] int readAll(int descriptor, std::string& bytes, std::size_t limit = SIZE_MAX);

/// Writes all the bytes, however often it takes.
[[nodiscard]] int writeAll(int descriptor, std::string_view bytes);

/// Renames to a name that is free; EEXIST when it is taken. Where the file system does not know RENAME_NOREPLACE
/// (renameat2(2)), the item gets the new name beside the old one, which then goes; for a folder, which cannot have two,
/// EISDIR. After a failure it has its old name alone.
[[nodiscard]] int renameWithoutReplacing(const std::string& from, const std::string& to);

/// Writes the next content of a file to the disk, beside it, for the user alone. One writer at a time.
[[nodiscard]] int prepareReplacement(const std::string& path, std::string_view bytes);

/// Puts the prepared content in the place of the file, for good when it returns.
[[nodiscard]] int commitReplacement(const std::string& path);

} // namespace torvo
