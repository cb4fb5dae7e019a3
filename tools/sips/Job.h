#pragma once

#include "Format.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace torvo::sips {

/// The longest side becomes `longestSide` pixels, the other one follows.
struct FitLongestSide {
    int longestSide = 0;
    bool operator==(const FitLongestSide&) const = default;
};
/// Both sides as given, whatever that does to the aspect.
struct ResizeExactly {
    int height = 0;
    int width = 0;
    bool operator==(const ResizeExactly&) const = default;
};
struct ResizeToWidth {
    int width = 0;
    bool operator==(const ResizeToWidth&) const = default;
};
struct ResizeToHeight {
    int height = 0;
    bool operator==(const ResizeToHeight&) const = default;
};
/// The middle of the picture; a side that is already smaller stays as it is.
struct CropCentre {
    int height = 0;
    int width = 0;
    bool operator==(const CropCentre&) const = default;
};
/// Clockwise.
struct Rotate {
    int degrees = 0;
    bool operator==(const Rotate&) const = default;
};
struct Flip {
    enum class Axis { horizontal, vertical };
    /// `horizontal` swaps left and right.
    Axis axis = Axis::horizontal;
    bool operator==(const Flip&) const = default;
};

using Operation = std::variant<FitLongestSide, ResizeExactly, ResizeToWidth, ResizeToHeight, CropCentre, Rotate, Flip>;

enum class Property { pixelWidth, pixelHeight, format, space, bitsPerSample, hasAlpha };

/// What one call of the program was asked to do.
struct Job {
    std::vector<std::string> inputs;
    /// Carried out in this order on the upright picture.
    std::vector<Operation> operations;
    /// Absent: the extension of the output decides, else the format stays.
    std::optional<Format> format;
    /// 0 (smallest) to 100 (best); absent: the format's own default.
    std::optional<int> quality;
    /// A file or an existing folder; absent: each input is replaced.
    std::optional<std::string> output;
    /// To print, in this order.
    std::vector<Property> properties;

    /// Whether pictures are to be written, and not only looked at.
    [[nodiscard]] bool writes() const { return format || quality || output || !operations.empty(); }
};

} // namespace torvo::sips
