#pragma once

#include <QColor>

namespace torvo::testing {

/// From 1, for equal colours, to 21: how far two opaque colours stand out from each other (WCAG 2.1, "contrast ratio").
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

} // namespace torvo::testing
