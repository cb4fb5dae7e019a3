#pragma once

#include "support/FileURL.h"

#include <optional>
#include <string>
#include <string_view>

namespace torvo {

/// A file's address in the form of RFC 8089: "file://" and the path, every byte percent-encoded that an address may not
/// hold as it is. Works for any path, text or not.
[[nodiscard]] std::string fileURLText(const FileURL& url);

/// Reads that form back, byte for byte; the host may be empty or "localhost". Absent for anything else, a path that is
/// not absolute, or one that no file can have.
[[nodiscard]] std::optional<FileURL> parseFileURLText(std::string_view text);

} // namespace torvo
