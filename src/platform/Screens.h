#pragma once

#include "support/Geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace torvo {

struct Screen {
    Rect frame;
    /// Without the panels and docks of the desktop.
    Rect visibleFrame;
};

/// The screens at one moment.
struct ScreenLayout {
    /// The primary screen, at whose bottom-left corner the desktop's origin is, comes first.
    std::vector<Screen> screens;
    /// The index of the screen that the user works on.
    std::optional<std::size_t> main;
};

/// Main thread only.
class Screens {
  public:
    virtual ~Screens() = default;

    [[nodiscard]] virtual ScreenLayout layout() = 0;
};

} // namespace torvo
