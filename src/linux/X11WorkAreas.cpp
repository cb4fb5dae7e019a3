#include "linux/X11WorkAreas.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace torvo {

namespace {

/// The desktop of a window that is on every one (_NET_WM_DESKTOP).
constexpr std::uint32_t kEveryDesktop = 0xFFFFFFFF;
/// Numbers that are read of a property at most: of 16 monitors.
constexpr std::uint32_t kMostNumbers = 64;

xcb_get_property_cookie_t ask(X11Connection& connection, xcb_window_t window, xcb_atom_t property) {
    return xcb_get_property(connection.get(), 0, window, property, XCB_ATOM_CARDINAL, 0, kMostNumbers);
}

/// The numbers of a property; empty when the window has none.
std::vector<std::uint32_t> answer(X11Connection& connection, xcb_get_property_cookie_t cookie) {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof *first};
}

/// An atom that somebody has named before; none otherwise.
xcb_intern_atom_cookie_t askKnownAtom(X11Connection& connection, std::string_view name) {
    return xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(name.size()), name.data());
}

xcb_atom_t answeredAtom(X11Connection& connection, xcb_intern_atom_cookie_t cookie) {
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection.get(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// The rectangles that the numbers of a property are.
std::vector<Rect> rectangles(const std::vector<std::uint32_t>& numbers) {
    std::vector<Rect> rects;
    // The numbers are cardinals of 32 bits, which hold places left of or above the desktop's corner all the same.
    const auto at = [&](std::size_t i) { return static_cast<double>(static_cast<std::int32_t>(numbers[i])); };
    for (std::size_t i = 0; i + 4 <= numbers.size(); i += 4)
        rects.push_back({at(i), at(i + 1), at(i + 2), at(i + 3)});
    return rects;
}

Rect intersection(const Rect& a, const Rect& b) {
    const double x = std::max(a.x, b.x);
    const double y = std::max(a.y, b.y);
    return {x, y, std::min(a.right(), b.right()) - x, std::min(a.top(), b.top()) - y};
}

/// What the window manager tells of the monitors on a desktop; empty when it does not. Window managers of the GNOME
/// family, whose panels are no windows, do (GTK reads it too).
std::vector<Rect> toldAreas(X11Connection& connection, xcb_atom_t hint, const std::vector<xcb_atom_t>& supported,
                            std::uint32_t desktop) {
    if (hint == XCB_ATOM_NONE || std::ranges::find(supported, hint) == supported.end())
        return {};
    const auto name = "_GTK_WORKAREAS_D" + std::to_string(desktop);
    const auto property = answeredAtom(connection, askKnownAtom(connection, name));
    return property == XCB_ATOM_NONE ? std::vector<Rect>{}
                                     : rectangles(answer(connection, ask(connection, connection.root(), property)));
}

/// What one window keeps free along an edge of the desktop.
struct Strut {
    enum class Edge { left, right, top, bottom };
    Edge edge;
    /// From the edge of the desktop to the last pixel of its other end.
    Rect reserved;
};

/// The struts of those of the windows that are on a desktop. `whole`: the desktop's size.
std::vector<Strut> struts(X11Connection& connection, const std::vector<xcb_window_t>& windows, std::uint32_t desktop,
                          const Size& whole) {
    const auto* hints = connection.hints();
    struct Asked {
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t whole;
        xcb_get_property_cookie_t desktop;
    };
    std::vector<Asked> asked;
    asked.reserve(windows.size());
    for (const auto window : windows)
        asked.push_back({ask(connection, window, hints->_NET_WM_STRUT_PARTIAL),
                         ask(connection, window, hints->_NET_WM_STRUT),
                         ask(connection, window, hints->_NET_WM_DESKTOP)});
    std::vector<std::array<std::uint32_t, 12>> found;
    for (const auto& each : asked) {
        auto numbers = answer(connection, each.partial);
        const auto edges = answer(connection, each.whole);
        const auto desktops = answer(connection, each.desktop);
        const bool isThere = desktops.empty() || desktops[0] == desktop || desktops[0] == kEveryDesktop;
        if (numbers.size() < 12 && edges.size() >= 4)
            // Along the whole edge.
            numbers = {edges[0], edges[1], edges[2], edges[3], 0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF, 0, 0xFFFF};
        if (isThere && numbers.size() >= 12)
            std::copy_n(numbers.begin(), 12, found.emplace_back().begin());
    }
    std::vector<Strut> result;
    for (const auto& numbers : found) {
        for (const auto edge : {Strut::Edge::left, Strut::Edge::right, Strut::Edge::top, Strut::Edge::bottom}) {
            const auto index = static_cast<std::size_t>(edge);
            const double depth = numbers.at(index);
            const double start = numbers.at(4 + 2 * index);
            const double length = numbers.at(5 + 2 * index) + 1.0 - start;
            if (depth <= 0)
                continue;
            const bool isUpright = edge == Strut::Edge::left || edge == Strut::Edge::right;
            const double begin = edge == Strut::Edge::right    ? whole.width - depth
                                 : edge == Strut::Edge::bottom ? whole.height - depth
                                                               : 0;
            result.push_back({edge, isUpright ? Rect{begin, start, depth, length} : Rect{start, begin, length, depth}});
        }
    }
    return result;
}

/// What a strut leaves of a monitor.
Rect without(const Strut& strut, const Rect& monitor) {
    const auto& reserved = strut.reserved;
    if (!reserved.intersects(monitor))
        return monitor;
    // A panel between two monitors reserves all that is on its other side up to the edge of the desktop; there it
    // takes nothing.
    double left = monitor.x;
    double right = monitor.right();
    double top = monitor.y;
    double bottom = monitor.top();
    switch (strut.edge) {
    case Strut::Edge::left:
        left = std::max(left, reserved.right());
        break;
    case Strut::Edge::right:
        right = std::min(right, reserved.x);
        break;
    case Strut::Edge::top:
        top = std::max(top, reserved.top());
        break;
    case Strut::Edge::bottom:
        bottom = std::min(bottom, reserved.y);
        break;
    }
    return left < right && top < bottom ? Rect{left, top, right - left, bottom - top} : monitor;
}

} // namespace

WorkAreaQuestions askWorkAreas(X11Connection& connection) {
    auto* hints = connection.hints();
    return {.desktop = xcb_ewmh_get_current_desktop(hints, connection.screenNumber()),
            .told = askKnownAtom(connection, "_GTK_WORKAREAS"),
            .supported = connection.askAtoms(connection.root(), hints->_NET_SUPPORTED),
            .windows = connection.askStackedWindows(),
            .whole = ask(connection, connection.root(), hints->_NET_WORKAREA),
            // The size of the desktop may have changed since the connection was made.
            .root = xcb_get_geometry(connection.get(), connection.root())};
}

std::vector<Rect> answeredWorkAreas(X11Connection& connection, const WorkAreaQuestions& asked,
                                    const std::vector<Rect>& monitors) {
    std::uint32_t desktop = 0;
    if (xcb_ewmh_get_current_desktop_reply(connection.hints(), asked.desktop, &desktop, nullptr) == 0)
        desktop = 0;
    const auto hint = answeredAtom(connection, asked.told);
    const auto supported = connection.answeredAtoms(asked.supported);
    const auto windows = connection.answeredStackedWindows(asked.windows);
    const auto onWhole = rectangles(answer(connection, asked.whole));
    const XcbReply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(connection.get(), asked.root, nullptr));
    const auto told = toldAreas(connection, hint, supported, desktop);
    std::vector<Strut> reserved;
    if (told.empty() && root)
        reserved =
            struts(connection, windows, desktop, {static_cast<double>(root->width), static_cast<double>(root->height)});
    const auto whole = told.empty() && reserved.empty() ? onWhole : std::vector<Rect>{};
    std::vector<Rect> areas;
    for (const auto& monitor : monitors) {
        auto area = monitor;
        const auto own = std::ranges::find_if(told, [&](const Rect& each) { return each.intersects(monitor); });
        if (own != told.end())
            area = intersection(monitor, *own);
        else if (!whole.empty())
            area = intersection(monitor, whole[desktop < whole.size() ? desktop : 0]);
        // Each from the whole monitor, so that no panel hides what another one reserves.
        for (const auto& strut : reserved)
            area = intersection(area, without(strut, monitor));
        areas.push_back(area.width > 0 && area.height > 0 ? area : monitor);
    }
    return areas;
}

} // namespace torvo
