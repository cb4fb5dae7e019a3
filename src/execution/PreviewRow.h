#pragma once

#include "support/FileURL.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// One planned rename or move, as a preview command printed it: neither trimmed nor normalised.
struct PreviewRow {
    std::string from;
    /// Absent when the line had no destination.
    std::optional<std::string> to;

    bool operator==(const PreviewRow&) const = default;
};

/// What the validation asks of the file system; may be replaced by a table.
struct PathChecks {
    std::function<bool(const FileURL&)> exists = &FileURL::exists;
    /// Also true for the name of a broken link.
    std::function<bool(const FileURL&)> isOccupied = &FileURL::isOccupied;
};

/// The rows that a preview command's standard output lists: a line each, old path, tab, new path.
[[nodiscard]] std::vector<PreviewRow> parsePreview(std::string_view output);

/// Why the rows cannot be carried out as a rename of exactly the selected files; absent when they can. Destinations
/// must be free, so that nothing is overwritten.
[[nodiscard]] std::optional<std::string> previewValidationError(const std::vector<PreviewRow>& rows,
                                                                const std::vector<FileURL>& selection,
                                                                const PathChecks& paths = {});

} // namespace torvo
