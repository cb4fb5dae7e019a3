#include "linux/X11Frames.h"

#include "linux/X11WorkAreas.h"

#include <xcb/randr.h>

#include <algorithm>
#include <array>

namespace torvo {

namespace {

/// Left, right, top, bottom.
using Extents = std::array<double, 4>;

xcb_get_property_cookie_t askExtents(X11Connection& connection, xcb_window_t window, xcb_atom_t property) {
    return xcb_get_property(connection.get(), 0, window, property, XCB_ATOM_CARDINAL, 0, 4);
}

Extents answeredExtents(X11Connection& connection, xcb_get_property_cookie_t cookie) {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
    Extents sides{};
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) == 16) {
        const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
        std::copy_n(values, 4, sides.begin());
    }
    return sides;
}

/// What RANDR says of the monitors; nothing where the server lacks it.
XcbReply<xcb_randr_get_monitors_reply_t> monitorsReply(X11Connection& connection) {
    // A request for what the server lacks would end the connection.
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_randr_id);
    if (extension == nullptr || extension->present == 0)
        return nullptr;
    const auto cookie = xcb_randr_get_monitors(connection.get(), connection.root(), 1);
    return XcbReply<xcb_randr_get_monitors_reply_t>(xcb_randr_get_monitors_reply(connection.get(), cookie, nullptr));
}

/// The monitors on the whole desktop, the primary one first, top edge as `y`.
std::vector<Rect> monitors(X11Connection& connection) {
    const auto reply = monitorsReply(connection);
    std::vector<Rect> frames;
    if (reply) {
        for (auto monitor = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitor.rem > 0;
             xcb_randr_monitor_info_next(&monitor)) {
            const auto& info = *monitor.data;
            const Rect frame{static_cast<double>(info.x), static_cast<double>(info.y), static_cast<double>(info.width),
                             static_cast<double>(info.height)};
            frames.insert(info.primary != 0 ? frames.begin() : frames.end(), frame);
        }
    }
    if (frames.empty()) {
        const auto& screen = connection.screen();
        frames.push_back(
            {0, 0, static_cast<double>(screen.width_in_pixels), static_cast<double>(screen.height_in_pixels)});
    }
    return frames;
}

/// The screen that holds the middle of the active window.
std::size_t mainScreen(X11Connection& connection, const std::vector<Rect>& frames) {
    const auto active = connection.activeWindow();
    const auto frame = active ? windowFrameOnDesktop(connection, *active) : std::nullopt;
    if (!frame)
        return 0;
    const Rect middle{frame->x + frame->width / 2, frame->y + frame->height / 2, 1, 1};
    const auto holder = std::ranges::find_if(frames, [&](const Rect& screen) { return screen.intersects(middle); });
    return holder == frames.end() ? 0 : static_cast<std::size_t>(holder - frames.begin());
}

} // namespace

Rect primaryMonitor(X11Connection& connection) {
    return monitors(connection).front();
}

std::optional<Rect> windowFrameOnDesktop(X11Connection& connection, xcb_window_t window) {
    // All are asked before any is answered: the bar's place waits for this one round trip.
    const auto geometryCookie = xcb_get_geometry(connection.get(), window);
    const auto placeCookie = xcb_translate_coordinates(connection.get(), window, connection.root(), 0, 0);
    const auto outerCookie = askExtents(connection, window, connection.hints()->_NET_FRAME_EXTENTS);
    const auto shadowCookie = askExtents(connection, window, connection.gtkFrameExtents());
    const XcbReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection.get(), geometryCookie, nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection.get(), placeCookie, nullptr));
    const auto outer = answeredExtents(connection, outerCookie);
    const auto shadow = answeredExtents(connection, shadowCookie);
    if (!geometry || !place)
        return std::nullopt;
    Extents sides{};
    for (std::size_t i = 0; i < sides.size(); ++i)
        sides.at(i) = outer.at(i) - shadow.at(i);
    const auto [left, right, top, bottom] = sides;
    return Rect{place->dst_x - left, place->dst_y - top, geometry->width + left + right,
                geometry->height + top + bottom};
}

std::optional<Rect> windowFrame(X11Connection& connection, xcb_window_t window) {
    auto frame = windowFrameOnDesktop(connection, window);
    if (frame) {
        const auto primary = primaryMonitor(connection);
        frame->x -= primary.x;
        frame->y -= primary.y;
    }
    return frame;
}

ScreenLayout X11Screens::layout() {
    const auto frames = monitors(m_connection);
    const auto areas = workAreas(m_connection, frames);
    ScreenLayout layout{.main = mainScreen(m_connection, frames)};
    const auto points = m_points ? m_points() : DesktopPoints();
    const auto& primary = frames.front();
    const double height = points.fromPixels({0, 0, primary.width, primary.height}).height;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const auto frame =
            points.fromPixels({frames[i].x - primary.x, frames[i].y - primary.y, frames[i].width, frames[i].height});
        // In the scale of the monitor, wherever the middle of what is left of it is.
        const double scale = frames[i].width / frame.width;
        const auto& area = areas[i];
        const Rect visible{frame.x + (area.x - frames[i].x) / scale, frame.y + (area.y - frames[i].y) / scale,
                           area.width / scale, area.height / scale};
        const auto upright = [height](const Rect& rect) {
            return Rect{rect.x, height - rect.top(), rect.width, rect.height};
        };
        layout.screens.push_back({upright(frame), upright(visible)});
    }
    return layout;
}

} // namespace torvo
