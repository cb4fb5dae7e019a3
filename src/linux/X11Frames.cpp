#include "linux/X11Frames.h"

#include "linux/X11WorkAreas.h"

#include <xcb/randr.h>

#include <algorithm>
#include <array>

namespace torvo {

namespace {

/// Left, right, top, bottom.
using Extents = std::array<double, 4>;

/// What the server was asked about a window's place. Each of these questions is to be answered once.
struct FrameQuestion {
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t place;
    xcb_get_property_cookie_t outer;
    xcb_get_property_cookie_t shadow;
};

/// Absent where the server lacks RANDR: a request for what it lacks would end the connection.
using MonitorsQuestion = std::optional<xcb_randr_get_monitors_cookie_t>;

FrameQuestion askFrame(X11Connection& connection, xcb_window_t window) {
    const auto askExtents = [&](xcb_atom_t property) {
        return xcb_get_property(connection.get(), 0, window, property, XCB_ATOM_CARDINAL, 0, 4);
    };
    return {xcb_get_geometry(connection.get(), window),
            xcb_translate_coordinates(connection.get(), window, connection.root(), 0, 0),
            askExtents(connection.hints()->_NET_FRAME_EXTENTS), askExtents(connection.gtkFrameExtents())};
}

MonitorsQuestion askMonitors(X11Connection& connection) {
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_randr_id);
    if (extension == nullptr || extension->present == 0)
        return std::nullopt;
    return xcb_randr_get_monitors(connection.get(), connection.root(), 1);
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

std::optional<Rect> answeredFrame(X11Connection& connection, const FrameQuestion& asked) {
    const XcbReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection.get(), asked.geometry, nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection.get(), asked.place, nullptr));
    const auto outer = answeredExtents(connection, asked.outer);
    const auto shadow = answeredExtents(connection, asked.shadow);
    if (!geometry || !place)
        return std::nullopt;
    Extents sides{};
    for (std::size_t i = 0; i < sides.size(); ++i)
        sides.at(i) = outer.at(i) - shadow.at(i);
    const auto [left, right, top, bottom] = sides;
    return Rect{place->dst_x - left, place->dst_y - top, geometry->width + left + right,
                geometry->height + top + bottom};
}

/// The monitors on the whole desktop, the primary one first, top edge as `y`.
std::vector<Rect> answeredMonitors(X11Connection& connection, const MonitorsQuestion& asked) {
    const XcbReply<xcb_randr_get_monitors_reply_t> reply(
        asked ? xcb_randr_get_monitors_reply(connection.get(), *asked, nullptr) : nullptr);
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
std::size_t mainScreen(const std::optional<Rect>& active, const std::vector<Rect>& frames) {
    if (!active)
        return 0;
    const Rect middle{active->x + active->width / 2, active->y + active->height / 2, 1, 1};
    const auto holder = std::ranges::find_if(frames, [&](const Rect& screen) { return screen.intersects(middle); });
    return holder == frames.end() ? 0 : static_cast<std::size_t>(holder - frames.begin());
}

} // namespace

Rect primaryMonitor(X11Connection& connection) {
    return answeredMonitors(connection, askMonitors(connection)).front();
}

Rect PrimaryMonitor::now() {
    if (m_turn == 0 || m_turn != m_connection.turn())
        m_frame = primaryMonitor(m_connection);
    m_turn = m_connection.turn();
    return m_frame;
}

std::optional<Rect> windowFrameOnDesktop(X11Connection& connection, xcb_window_t window) {
    return answeredFrame(connection, askFrame(connection, window));
}

std::optional<Rect> windowFrame(X11Connection& connection, xcb_window_t window) {
    const auto frameQuestion = askFrame(connection, window);
    const auto monitorsQuestion = askMonitors(connection);
    auto frame = answeredFrame(connection, frameQuestion);
    const auto primary = answeredMonitors(connection, monitorsQuestion).front();
    if (frame) {
        frame->x -= primary.x;
        frame->y -= primary.y;
    }
    return frame;
}

ScreenLayout X11Screens::layout() {
    // The bar's place waits for the answers: two trips to the server, each for all that can be asked by then.
    const auto monitorsQuestion = askMonitors(m_connection);
    const auto activeQuestion = m_connection.askActiveWindow();
    const auto areaQuestions = askWorkAreas(m_connection);
    const auto frames = answeredMonitors(m_connection, monitorsQuestion);
    const auto active = m_connection.answeredActiveWindow(activeQuestion);
    const auto frameQuestion = active ? std::optional<FrameQuestion>(askFrame(m_connection, *active)) : std::nullopt;
    const auto areas = answeredWorkAreas(m_connection, areaQuestions, frames);
    const auto activeFrame = frameQuestion ? answeredFrame(m_connection, *frameQuestion) : std::nullopt;
    ScreenLayout layout{.main = mainScreen(activeFrame, frames)};
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
