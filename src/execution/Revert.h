#pragma once

#include "execution/Operation.h"
#include "execution/PreviewRow.h"
#include "platform/Trash.h"

#include <expected>
#include <string>
#include <vector>

namespace torvo {

/// The renames among the confirmed rows that really happened, by what the disk holds now.
[[nodiscard]] std::vector<Operation::Rename> effectiveRenames(const std::vector<PreviewRow>& rows);

enum class Reverted { yes, nothingToUndo };

/// Moves renamed files back, the last one first, or created files to the Trash. Nothing is overwritten. The error is
/// the line to show; the files that could be put back were.
[[nodiscard]] std::expected<Reverted, std::string> revert(const Operation& operation, Trash& trash);

} // namespace torvo
