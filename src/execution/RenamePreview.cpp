#include "execution/RenamePreview.h"

#include "execution/ErrorLine.h"

#include <fmt/format.h>

#include <utility>

namespace torvo {

std::expected<std::vector<PreviewRow>, PreviewFailure> renamePreview(ActionRunner& runner, std::string_view command,
                                                                     const FinderContext& context, const FileURL& home,
                                                                     const std::stop_token& stop) {
    const auto result = runner.readonlyOutput(command, context, home, stop);
    if (result.confinementUnavailable) {
        return std::unexpected(
            PreviewFailure{true, "No preview is possible: this machine cannot confine it to reading."});
    }
    if (result.status != 0) {
        const auto line = errorLine(result.standardOutput.text(), result.standardError.text(), result.status);
        return std::unexpected(PreviewFailure{false, fmt::format("Couldn't prepare a safe preview: {}", line)});
    }
    auto rows = parsePreview(result.standardOutput.bytes());
    if (auto error = previewValidationError(rows, context.selection))
        return std::unexpected(PreviewFailure{false, std::move(*error)});
    return rows;
}

} // namespace torvo
