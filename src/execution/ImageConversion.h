#pragma once

#include "execution/ProcessRunner.h"
#include "execution/RunOutcome.h"
#include "model/Selecting.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The programs behind the two built-in actions that create files.
struct ConversionTools {
    std::string imageTool = "/usr/bin/sips";
    std::string archiver = "/usr/bin/zip";
};

/// The image files of a list, by their extension, in order.
[[nodiscard]] std::vector<FileURL> imageItems(const std::vector<FileURL>& items);

/// The name that the image tool gives to the format of a lower-case extension.
[[nodiscard]] std::string_view sipsFormat(std::string_view extension);

/// The first of "name.ext", "name-1.ext", "name-2.ext" … that is free in `folder`.
[[nodiscard]] FileURL freeDestination(const FileURL& folder, std::string_view name, std::string_view extension);

/// Deletes the listed files that exist, for good. Errors are ignored.
void removeNewFiles(const std::vector<FileURL>& files);

/// Converts the selected images to `toExt`, each beside its source. All or nothing: on failure or cancel every file
/// that this call made is deleted again. Sources are never touched. The new files are handed to `selector`.
RunOutcome convertImages(std::string_view toExt, const std::vector<FileURL>& selection, const ConversionTools& tools,
                         ProcessRunner& processes, Selecting& selector, const ProgressCallback& progress);

} // namespace torvo
