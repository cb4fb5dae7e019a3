#pragma once

#include "Job.h"

#include <cstdint>

namespace torvo::sips {

/// In pixels.
struct Size {
    std::int64_t width = 0;
    std::int64_t height = 0;
    bool operator==(const Size&) const = default;
};

/// The most pixels that a picture may have, read or made: more than the largest camera has (200 million), few enough
/// that one picture fits into memory several times.
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;

[[nodiscard]] bool isTooLarge(Size size);

/// The size of a picture of the size `size` after a resizing or cropping operation; rotating and flipping leave it as
/// it is here. No side is ever less than one pixel.
[[nodiscard]] Size sizeAfter(const Operation& operation, Size size);

/// `degrees` as 0 to 359.
[[nodiscard]] int normalizedDegrees(int degrees);

} // namespace torvo::sips
