#pragma once

#include "platform/Panel.h"
#include "platform/Screens.h"
#include "support/Geometry.h"

#include <functional>
#include <optional>
#include <utility>

namespace torvo {

/// The full bar, or the narrow one that waits docked to a window.
enum class BarForm { compact, expanded };

/// Where the panel belongs: just under the window `frame`, or above it where there is no room, or in the middle of the
/// main screen when there is no window. `height`: the panel's present height, which is kept. Absent when there is no
/// screen to place it on.
[[nodiscard]] std::optional<Rect> panelPlacement(const std::optional<Rect>& frame, BarForm form, double height,
                                                 const ScreenLayout& layout);

/// The height for content of a height, in whole points. Absent when the panel has it already, or there is no content.
[[nodiscard]] std::optional<double> fittedHeight(double contentHeight, double panelHeight);

/// The frame of a panel of that height whose top edge was placed at `top`: it hangs down from there, and further up
/// only where the screen ends before it does.
[[nodiscard]] Rect fittedFrame(double height, const Rect& panel, double top, const ScreenLayout& layout);

/// The floating window of the command bar. Main thread only.
class CommandBarPanel {
  public:
    /// Both must outlive the panel.
    CommandBarPanel(Panel& window, Screens& screens) : m_window(window), m_screens(screens) {}

    /// Places and sizes the panel by `panelPlacement`.
    void position(const std::optional<Rect>& frame, BarForm form);
    /// Gives the panel the height of its content, while it is visible.
    void fit(double contentHeight);
    /// `action` is called after the panel became key (true) or resigned it (false).
    void onKeyChange(std::function<void(bool isKey)> action) { m_window.setKeyChangeAction(std::move(action)); }

    [[nodiscard]] bool isVisible() const { return m_window.isVisible(); }
    [[nodiscard]] bool hasOpenMenu() const { return m_window.hasOpenMenu(); }
    [[nodiscard]] double height() const { return m_window.frame().height; }
    void orderFront() { m_window.orderFront(); }
    void orderOut() { m_window.orderOut(); }
    void makeKey() { m_window.makeKey(); }
    /// See `Panel`.
    void afterDrawing(std::function<void()> action) { m_window.afterDrawing(std::move(action)); }

  private:
    Panel& m_window;
    Screens& m_screens;
    /// Where the panel was put last, and the top edge that it was placed by. Somebody else may have moved it since.
    struct Placed {
        Rect frame;
        double top = 0;
    };
    std::optional<Placed> m_placed;
};

} // namespace torvo
