#pragma once

#include "support/FileURL.h"

#include <optional>
#include <vector>

namespace torvo {

/// What the front file-manager window shows, taken afresh for every command.
struct FinderContext {
    /// Absent when no window is open or its folder cannot be read.
    std::optional<FileURL> folder;
    /// In the order in which the file manager reports it.
    std::vector<FileURL> selection;
};

} // namespace torvo
