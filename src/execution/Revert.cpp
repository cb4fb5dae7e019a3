#include "execution/Revert.h"

#include "execution/FileMove.h"

#include <ranges>
#include <utility>

namespace torvo {

std::vector<Operation::Rename> effectiveRenames(const std::vector<PreviewRow>& rows) {
    std::vector<Operation::Rename> renames;
    for (const auto& row : rows) {
        if (!row.to)
            continue;
        Operation::Rename rename{FileURL(row.from).standardized(), FileURL(*row.to).standardized()};
        if (!rename.from.isOccupied() && rename.to.isOccupied())
            renames.push_back(std::move(rename));
    }
    return renames;
}

std::expected<Reverted, std::string> revert(const Operation& operation, Trash& trash) {
    if (!operation.canUndo())
        return Reverted::nothingToUndo;
    for (const auto& [from, to] : operation.renameMap) {
        if (!to.isOccupied() || from.isOccupied())
            return std::unexpected("Can't undo: files changed since this operation");
    }
    for (const auto& [from, to] : operation.renameMap | std::views::reverse) {
        if (const auto moved = moveFile(to, from); !moved)
            return std::unexpected("Undo failed: " + moved.error());
    }
    if (!operation.renameMap.empty())
        return Reverted::yes;
    for (const auto& output : operation.outputs) {
        if (!output.isOccupied())
            continue;
        if (const auto trashed = trash.moveToTrash(output); !trashed)
            return std::unexpected("Undo failed: " + trashed.error());
    }
    return Reverted::yes;
}

} // namespace torvo
