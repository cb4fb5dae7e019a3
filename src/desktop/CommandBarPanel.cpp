#include "desktop/CommandBarPanel.h"

#include <algorithm>

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
        const auto under =
            std::ranges::find_if(layout.screens, [&](const Screen& screen) { return screen.frame.intersects(*frame); });
        const auto* screen = under != layout.screens.end() ? &*under : main;
        if (screen != nullptr)
            return docked(*frame, screen->visibleFrame, form, kept);
    }
    return main != nullptr ? std::optional(centred(main->frame, form, kept)) : std::nullopt;
}

void CommandBarPanel::position(const std::optional<Rect>& frame, BarForm form) {
    if (const auto place = panelPlacement(frame, form, m_window.frame().height, m_screens.layout()))
        m_window.setFrame(*place);
}

} // namespace torvo
