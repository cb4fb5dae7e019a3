#pragma once

namespace torvo {

struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

/// A rectangle on the desktop, in points. The origin of the desktop is the bottom-left corner of the primary screen and
/// y points up, so that `y` is the bottom edge.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    [[nodiscard]] double right() const { return x + width; }
    [[nodiscard]] double top() const { return y + height; }
    /// Whether the two share an area; edges that only touch do not count.
    [[nodiscard]] bool intersects(const Rect& other) const {
        return x < other.right() && other.x < right() && y < other.top() && other.y < top();
    }

    bool operator==(const Rect&) const = default;
};

} // namespace torvo
