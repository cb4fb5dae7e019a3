#pragma once

#include "support/Geometry.h"

#include <vector>

namespace torvo {

/// Where the X server's pixels are in points. Both count from the top-left corner of the primary monitor, `y`
/// downwards.
///
/// A monitor may have a scale factor of its own. Each keeps its corner where it is in pixels and shrinks towards it, as
/// Qt counts (High DPI, "device independent pixels"): monitors side by side in pixels have a gap between them in
/// points, and a rectangle counts in the scale of one of them.
class DesktopPoints {
  public:
    /// Pixels that have a scale factor in common.
    struct Area {
        Rect pixels;
        /// Pixels in a point.
        double scale = 1;
    };

    /// A point for each pixel.
    DesktopPoints() = default;
    /// `areas`: the monitors that have a scale, in any order.
    explicit DesktopPoints(std::vector<Area> areas);

    /// A window or a monitor, in the scale of the area that holds its middle or is nearest to it.
    [[nodiscard]] Rect fromPixels(const Rect& pixels) const;
    /// A rectangle in the scale of the area that holds its top-left corner or is nearest to it.
    [[nodiscard]] Rect toPixels(const Rect& points) const;

  private:
    [[nodiscard]] Point cornerInPoints(const Area& area) const;

    std::vector<Area> m_areas{Area{}};
    /// What Qt's way of counting makes of the primary monitor's corner.
    Point m_origin;
};

} // namespace torvo
