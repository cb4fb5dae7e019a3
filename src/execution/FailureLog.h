#pragma once

#include "support/FileURL.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace torvo {

/// A run that did not go well, as the failure log keeps it: texts word for word, however long.
struct FailedCommand {
    std::string_view command;
    std::int32_t status = 0;
    std::string_view standardOutput;
    std::string_view standardError;
};

/// One record of the failure log: a header with the status, the command, standard error, standard output, an empty
/// line.
[[nodiscard]] std::string failureRecord(const FailedCommand& failed);

/// Appends a record to "Torvo/command-errors.log" in the application-support folder, both made when missing; the file
/// is for the user's eyes only. Records of several processes never mix. Whatever goes wrong is ignored.
void logFailure(const FileURL& applicationSupportFolder, const FailedCommand& failed);

} // namespace torvo
