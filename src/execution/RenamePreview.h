#pragma once

#include "execution/ActionRunner.h"
#include "execution/PreviewRow.h"

#include <expected>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Why the renames of a command cannot be shown.
struct PreviewFailure {
    /// Nothing ran: this machine cannot confine the preview command to reading.
    bool isUnavailable = false;
    /// One line for the user.
    std::string message;
};

/// Runs a preview command, confined to reading, and checks the rows that it prints against the selection and the file
/// system. Blocks. The rows rename exactly the selected files to names that were free.
[[nodiscard]] std::expected<std::vector<PreviewRow>, PreviewFailure>
renamePreview(ActionRunner& runner, std::string_view command, const FinderContext& context, const FileURL& home,
              const std::stop_token& stop = {});

} // namespace torvo
