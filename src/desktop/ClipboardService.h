#pragma once

#include "platform/Pasteboard.h"
#include "support/FileURL.h"

#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// The clipboard as a source of input files.
namespace ClipboardService {

/// Whether the clipboard has files or a picture. A picture is not fetched for that.
[[nodiscard]] bool hasContent(Pasteboard& pasteboard);

/// The picture on the clipboard as the bytes of a PNG file.
[[nodiscard]] std::optional<std::string> imageData(Pasteboard& pasteboard);

/// The files that the clipboard provides: those on it, or its picture, written under the first free name of "Pasted
/// image.png", "Pasted image 1.png", ... into `folder`, or `desktop` (the user's Desktop folder) when there is none.
/// Empty when there is neither, or the picture cannot be written.
[[nodiscard]] std::vector<FileURL> ingest(Pasteboard& pasteboard, const std::optional<FileURL>& folder,
                                          const FileURL& desktop);

} // namespace ClipboardService

} // namespace torvo
