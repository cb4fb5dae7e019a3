#include "desktop/CommandBarPanel.h"

#include <algorithm>
#include <cmath>

namespace torvo {

namespace {

constexpr double kFirstHeight = 90;
constexpr double kCompactWidth = 300;
constexpr double kExpandedWidth = 600;
/// An expanded bar under a narrow window is still this wide.
constexpr double kLeastExpandedWidth = 420;
/// So much of the bar stays on the screen, however far to the right its window is.
constexpr double kLeastShown = 120;
constexpr double kGap = 8;
/// Less is not worth a move.
constexpr double kLeastChange = 0.5;

/// The first screen that a rectangle is on; null when it is on none.
const Screen* screenOf(const Rect& rectangle, const ScreenLayout& layout) {
    const auto screen =
        std::ranges::find_if(layout.screens, [&](const Screen& each) { return each.frame.intersects(rectangle); });
    return screen != layout.screens.end() ? &*screen : nullptr;
}

Rect centred(const Rect& screen, BarForm form, double height) {
    const double width = form == BarForm::expanded ? kExpandedWidth : kCompactWidth;
    return {screen.x + screen.width / 2 - width / 2, screen.y + screen.height / 2, width, height};
}

Rect docked(const Rect& window, const Rect& visible, BarForm form, double height) {
    const double x = std::min(std::max(visible.x, window.x), visible.right() - kLeastShown);
    const double width = form == BarForm::expanded
                             ? std::max(std::min(visible.right() - x, window.width), kLeastExpandedWidth)
                             : kCompactWidth;
    double y = window.y - kGap - height;
    if (y < visible.y)
        y = std::min(window.top() + kGap, visible.top() - height);
    return {x, y, width, height};
}

} // namespace

std::optional<Rect> panelPlacement(const std::optional<Rect>& frame, BarForm form, double height,
                                   const ScreenLayout& layout) {
    const double kept = height > 1 ? height : kFirstHeight;
    const auto* main = layout.main && *layout.main < layout.screens.size() ? &layout.screens[*layout.main] : nullptr;
    if (frame) {
        const auto* under = screenOf(*frame, layout);
        if (const auto* screen = under != nullptr ? under : main)
            return docked(*frame, screen->visibleFrame, form, kept);
    }
    return main != nullptr ? std::optional(centred(main->frame, form, kept)) : std::nullopt;
}

std::optional<double> fittedHeight(double contentHeight, double panelHeight) {
    const double height = std::ceil(contentHeight);
    return contentHeight > 1 && std::abs(height - panelHeight) > kLeastChange ? std::optional(height) : std::nullopt;
}

Rect fittedFrame(double height, const Rect& panel, double top, const ScreenLayout& layout) {
    Rect fitted{panel.x, top - height, panel.width, height};
    if (const auto* screen = screenOf(panel, layout))
        fitted.y = std::max(fitted.y, std::min(screen->visibleFrame.y, screen->visibleFrame.top() - height));
    return fitted;
}

void CommandBarPanel::position(const std::optional<Rect>& frame, BarForm form) {
    const auto place = panelPlacement(frame, form, m_window.frame().height, m_screens.layout());
    if (!place)
        return;
    m_window.setFrame(*place);
    m_placed = {m_window.frame(), place->top()};
}

void CommandBarPanel::fit(double contentHeight) {
    if (!m_window.isVisible())
        return;
    const auto frame = m_window.frame();
    const auto height = fittedHeight(contentHeight, frame.height);
    if (!height)
        return;
    const double top = m_placed && m_placed->frame == frame ? m_placed->top : frame.top();
    m_window.setFrame(fittedFrame(*height, frame, top, m_screens.layout()));
    m_placed = {m_window.frame(), top};
}

} // namespace torvo
