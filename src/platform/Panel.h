#pragma once

#include "support/Geometry.h"

#include <functional>

namespace torvo {

/// A floating window without a frame that is shown without taking the focus from the application below it. Stays above
/// other windows and on every virtual desktop. Main thread only.
class Panel {
  public:
    virtual ~Panel() = default;

    [[nodiscard]] virtual bool isVisible() const = 0;
    [[nodiscard]] virtual Rect frame() const = 0;
    virtual void setFrame(const Rect& frame) = 0;
    /// Shows the panel above all windows; no window loses or gains the keyboard.
    virtual void orderFront() = 0;
    virtual void orderOut() = 0;
    /// Whether one of the program's menus is open: it would vanish if the panel went, or another window came.
    [[nodiscard]] virtual bool hasOpenMenu() const = 0;
    /// Gives the panel the keyboard.
    virtual void makeKey() = 0;
    /// Calls `action` once the panel, which is being shown, has been drawn; at once when it has been, or is not shown.
    virtual void afterDrawing(std::function<void()> action) = 0;
    /// What is called after the panel got (true) or lost (false) the keyboard. One action; the last one set counts.
    virtual void setKeyChangeAction(std::function<void(bool isKey)> action) = 0;
};

} // namespace torvo
