#include "execution/PreviewRow.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <unordered_set>

namespace torvo {

namespace {

using URLSet = std::unordered_set<FileURL>;

bool isAbsolute(std::string_view path) {
    return path.starts_with('/');
}

/// The first check that a row fails, in the order in which the user is told.
std::optional<std::string> rowError(const PreviewRow& row, const URLSet& selected, URLSet& sources,
                                    URLSet& destinations, const PathChecks& paths) {
    if (!row.to)
        return "The preview did not include a destination for every file.";
    if (!isAbsolute(row.from) || !isAbsolute(*row.to))
        return "The preview returned a non-absolute path.";
    const auto source = FileURL(row.from).standardized();
    const auto destination = FileURL(*row.to).standardized();
    if (!selected.contains(source))
        return "The preview included a file outside the current selection.";
    if (!paths.exists(source))
        return fmt::format("{} no longer exists.", source.lastPathComponent());
    if (source == destination)
        return fmt::format("{} would not change.", source.lastPathComponent());
    if (!sources.insert(source).second)
        return "The preview included the same source more than once.";
    if (!destinations.insert(destination).second)
        return "Two files would be renamed to the same destination.";
    if (paths.isOccupied(destination))
        return fmt::format("{} already exists.", destination.lastPathComponent());
    if (!paths.exists(destination.deletingLastPathComponent()))
        return fmt::format("The destination folder for {} does not exist.", destination.lastPathComponent());
    return std::nullopt;
}

} // namespace

std::vector<PreviewRow> parsePreview(std::string_view output) {
    std::vector<PreviewRow> rows;
    for (const auto line : splitLines(output)) {
        if (trimmed(line, TextTrim::spaces).empty())
            continue;
        const auto fields = split(line, '\t');
        if (fields.size() < 2) {
            rows.push_back({std::string(line), std::nullopt});
            continue;
        }
        if (fields[0].empty())
            continue;
        PreviewRow row{std::string(fields[0]), std::nullopt};
        if (!fields[1].empty())
            row.to = fields[1];
        rows.push_back(std::move(row));
    }
    return rows;
}

std::optional<std::string> previewValidationError(const std::vector<PreviewRow>& rows,
                                                  const std::vector<FileURL>& selection, const PathChecks& paths) {
    if (rows.empty())
        return "The preview produced no changes.";
    URLSet selected;
    for (const auto& file : selection)
        selected.insert(file.standardized());
    URLSet sources;
    URLSet destinations;
    for (const auto& row : rows) {
        if (auto error = rowError(row, selected, sources, destinations, paths))
            return error;
    }
    if (sources != selected)
        return "The preview did not account for every selected file.";
    return std::nullopt;
}

} // namespace torvo
