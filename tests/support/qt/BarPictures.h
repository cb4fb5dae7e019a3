#pragma once

#include "commandbar/CommandBarState.h"

#include <string>
#include <vector>

namespace torvo::testing {

/// A situation of the command bar that is worth a look.
struct BarPicture {
    std::string name;
    CommandBarState state;
    bool isDropTargeted = false;
    /// Of the panel, in device-independent pixels.
    int width = 600;
};

[[nodiscard]] std::vector<BarPicture> barPictures();

} // namespace torvo::testing
