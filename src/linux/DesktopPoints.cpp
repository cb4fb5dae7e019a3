#include "linux/DesktopPoints.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace torvo {

namespace {

/// How far a place is from a rectangle whose `y` is its top edge; 0 inside.
double distance(const Rect& rect, const Point& place) {
    const auto outside = [](double least, double greatest, double value) {
        return std::max({least - value, 0.0, value - greatest});
    };
    return std::hypot(outside(rect.x, rect.right() - 1, place.x), outside(rect.y, rect.top() - 1, place.y));
}

} // namespace

DesktopPoints::DesktopPoints(std::vector<Area> areas) {
    if (areas.empty())
        return;
    m_areas = std::move(areas);
    const auto corner = fromPixels({0, 0, 1, 1});
    m_origin = {corner.x, corner.y};
}

Point DesktopPoints::cornerInPoints(const Area& area) const {
    return {area.pixels.x - m_origin.x, area.pixels.y - m_origin.y};
}

Rect DesktopPoints::fromPixels(const Rect& pixels) const {
    const Point middle{pixels.x + std::floor(pixels.width / 2), pixels.y + std::floor(pixels.height / 2)};
    const auto& area =
        *std::ranges::min_element(m_areas, {}, [&](const Area& each) { return distance(each.pixels, middle); });
    const auto corner = cornerInPoints(area);
    return {corner.x + (pixels.x - area.pixels.x) / area.scale, corner.y + (pixels.y - area.pixels.y) / area.scale,
            pixels.width / area.scale, pixels.height / area.scale};
}

Rect DesktopPoints::toPixels(const Rect& points) const {
    const auto& area = *std::ranges::min_element(m_areas, {}, [&](const Area& each) {
        const auto corner = cornerInPoints(each);
        return distance({corner.x, corner.y, each.pixels.width / each.scale, each.pixels.height / each.scale},
                        {points.x, points.y});
    });
    const auto corner = cornerInPoints(area);
    return {area.pixels.x + (points.x - corner.x) * area.scale, area.pixels.y + (points.y - corner.y) * area.scale,
            points.width * area.scale, points.height * area.scale};
}

} // namespace torvo
