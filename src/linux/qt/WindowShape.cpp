#include "linux/qt/WindowShape.h"

#include <xcb/xfixes.h>

#include <QGuiApplication>
#include <vector>

namespace torvo {

namespace {

/// ShapeBounding of the X Nonrectangular Window Shape Extension.
constexpr std::uint8_t kBounding = 0;

/// Qt's connection, so that a shape arrives in order with the sizes that Qt sets; null without an X server, or with one
/// that lacks the extension.
xcb_connection_t* connectionFor(const QWidget& window) {
    // Other platforms may say that they have the interface, too, and then have no connection.
    if (QGuiApplication::platformName() != QStringLiteral("xcb") || !window.testAttribute(Qt::WA_WState_Created))
        return nullptr;
    auto* connection = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (extension == nullptr || extension->present == 0)
        return nullptr;
    // Shapes came with version 2; the server refuses what the client did not say that it knows.
    xcb_discard_reply(connection, xcb_xfixes_query_version(connection, 5, 0).sequence);
    return connection;
}

xcb_xfixes_region_t makeRegion(xcb_connection_t* connection, const QRegion& devicePixels) {
    std::vector<xcb_rectangle_t> rectangles;
    for (const auto& part : devicePixels)
        rectangles.push_back({static_cast<std::int16_t>(part.x()), static_cast<std::int16_t>(part.y()),
                              static_cast<std::uint16_t>(part.width()), static_cast<std::uint16_t>(part.height())});
    const auto region = xcb_generate_id(connection);
    xcb_xfixes_create_region(connection, region, static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    return region;
}

} // namespace

bool setWindowShape(const QWidget& window, const QRegion* devicePixels) {
    auto* connection = connectionFor(window);
    if (connection == nullptr)
        return false;
    const xcb_xfixes_region_t region =
        devicePixels != nullptr ? makeRegion(connection, *devicePixels) : xcb_xfixes_region_t{XCB_XFIXES_REGION_NONE};
    xcb_xfixes_set_window_shape_region(connection, static_cast<xcb_window_t>(window.effectiveWinId()), kBounding, 0, 0,
                                       region);
    if (devicePixels != nullptr)
        xcb_xfixes_destroy_region(connection, region);
    xcb_flush(connection);
    return true;
}

} // namespace torvo
