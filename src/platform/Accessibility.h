#pragma once

#include "support/Geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace torvo {

/// A window or a control of another application.
struct AccessibilityElement {
    std::uint64_t id = 0;

    bool operator==(const AccessibilityElement&) const = default;
};

/// The value of an attribute. A position is that of the element's top-left corner, with the origin at the top-left of
/// the primary screen and y pointing down.
using AccessibilityValue = std::variant<std::string, Point, Size, AccessibilityElement>;

/// Reads the windows of other applications. Callable from any thread; every call returns within a short time-out.
class Accessibility {
  public:
    virtual ~Accessibility() = default;

    [[nodiscard]] virtual AccessibilityElement application(std::int32_t pid) = 0;
    /// Absent when the element is gone or lacks the attribute, or reading is not allowed.
    [[nodiscard]] virtual std::optional<AccessibilityValue> attribute(const AccessibilityElement& element,
                                                                      std::string_view name) = 0;
    /// Whether the user allowed this program to read other applications' windows.
    [[nodiscard]] virtual bool isTrusted() = 0;
    /// Has the system ask the user for that, if it is not allowed yet.
    virtual void promptForTrust() = 0;
};

} // namespace torvo
