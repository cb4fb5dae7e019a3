#pragma once

#include <QColor>
#include <algorithm>
#include <cmath>

namespace torvo::testing {

/// WCAG 2.1, "relative luminance".
[[nodiscard]] inline double luminance(const QColor& color) {
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// From 1, for equal colours, to 21: how far two opaque colours stand out from each other (WCAG 2.1, "contrast ratio").
[[nodiscard]] inline double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

} // namespace torvo::testing
