#include "Geometry.h"

#include <algorithm>

namespace torvo::sips {
namespace {

/// `side` scaled by `numerator` / `denominator`, rounded to the nearest pixel.
std::int64_t scaled(std::int64_t side, std::int64_t numerator, std::int64_t denominator) {
    return std::max<std::int64_t>(1, (2 * side * numerator + denominator) / (2 * denominator));
}

struct Resizer {
    Size size;

    Size operator()(const FitLongestSide& fit) const {
        return size.width >= size.height ? (*this)(ResizeToWidth{fit.longestSide})
                                         : (*this)(ResizeToHeight{fit.longestSide});
    }
    Size operator()(const ResizeExactly& exact) const { return {exact.width, exact.height}; }
    Size operator()(const ResizeToWidth& to) const { return {to.width, scaled(size.height, to.width, size.width)}; }
    Size operator()(const ResizeToHeight& to) const { return {scaled(size.width, to.height, size.height), to.height}; }
    Size operator()(const CropCentre& crop) const {
        return {std::min<std::int64_t>(size.width, crop.width), std::min<std::int64_t>(size.height, crop.height)};
    }
    Size operator()(const Rotate&) const { return size; }
    Size operator()(const Flip&) const { return size; }
};

} // namespace

bool isTooLarge(Size size) {
    return size.width > kMostPixels || size.height > kMostPixels || size.width * size.height > kMostPixels;
}

Size sizeAfter(const Operation& operation, Size size) {
    return std::visit(Resizer{size}, operation);
}

int normalizedDegrees(int degrees) {
    return (degrees % 360 + 360) % 360;
}

} // namespace torvo::sips
