#pragma once

#include "support/FileURL.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// A file's address in the form of RFC 8089: "file://" and the path, every byte percent-encoded that an address may not
/// hold as it is. Works for any path, text or not.
[[nodiscard]] std::string fileURLText(const FileURL& url);

/// Reads that form back, byte for byte; the host may be empty or "localhost". Absent for anything else, a path that is
/// not absolute, or one that no file can have.
[[nodiscard]] std::optional<FileURL> parseFileURLText(std::string_view text);

/// The files among the addresses of a list as it is dragged and copied ("text/uri-list", RFC 2483), in order.
[[nodiscard]] std::vector<FileURL> filesInUriList(std::string_view list);

} // namespace torvo
