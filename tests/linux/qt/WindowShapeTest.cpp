#include "linux/qt/WindowShape.h"

#include "commandbar/view/CommandBarView.h"
#include "tests/support/Bar.h"
#include "tests/support/XDesktop.h"

#include <gtest/gtest.h>
#include <xcb/xfixes.h>

#include <QApplication>
#include <array>
#include <cstdlib>
#include <memory>

namespace torvo::testing {

namespace {

/// What an X server shows of a window, in its pixels.
QRegion shapeOf(xcb_connection_t* connection, xcb_window_t window) {
    xcb_discard_reply(connection, xcb_xfixes_query_version(connection, 5, 0).sequence);
    const auto region = xcb_generate_id(connection);
    xcb_xfixes_create_region_from_window(connection, region, window, 0);
    const std::unique_ptr<xcb_xfixes_fetch_region_reply_t, decltype(&std::free)> reply(
        xcb_xfixes_fetch_region_reply(connection, xcb_xfixes_fetch_region(connection, region), nullptr), &std::free);
    QRegion shape;
    if (reply == nullptr)
        return shape;
    const auto* parts = xcb_xfixes_fetch_region_rectangles(reply.get());
    for (int index = 0; index < xcb_xfixes_fetch_region_rectangles_length(reply.get()); ++index)
        shape += QRect(parts[index].x, parts[index].y, parts[index].width, parts[index].height);
    return shape;
}

} // namespace

TEST(WindowShapeTest, ABarThatCannotBeBlendedIsCutInPixelsOfTheScreenAtEveryScale) {
    XDesktop desktop;
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    for (const double scale : {1.0, 2.0, 1.5}) {
        ::setenv("QT_SCALE_FACTOR", std::to_string(scale).c_str(), 1);
        std::array<char, 6> name{'t', 'o', 'r', 'v', 'o', '\0'};
        std::array<char*, 2> arguments{name.data(), nullptr};
        int count = 1;
        const QApplication application(count, arguments.data());
        Bar bar;
        FakeHotKeys keys;
        HotKeyCoordinator hotKey(keys, bar.defaults);
        CommandBarView view(*bar.service, hotKey, bar.panel, Backdrop::opaque, setWindowShape);
        view.setWindowFlags(Qt::X11BypassWindowManagerHint);
        view.setGeometry(40, 40, 300, 48);
        view.QWidget::show();
        const auto window = static_cast<xcb_window_t>(view.winId());
        const auto shape = [&] {
            QApplication::processEvents();
            return shapeOf(desktop.connection().get(), window);
        };
        const auto expected = barMask(view.rect(), scale);
        EXPECT_TRUE(desktop.eventually([&] { return shape() == expected; })) << scale;
        EXPECT_NEAR(expected.boundingRect().width(), (300 - 2 * kBarMargin) * scale, 1);
        EXPECT_FALSE(expected.contains(expected.boundingRect().topLeft()));

        view.setBackdrop(Backdrop::translucent);
        const QRegion whole(0, 0, static_cast<int>(300 * scale), static_cast<int>(48 * scale));
        EXPECT_TRUE(desktop.eventually([&] { return shape() == whole; })) << scale;
    }
    ::unsetenv("QT_SCALE_FACTOR");
    ::unsetenv("QT_QPA_PLATFORM");
}

} // namespace torvo::testing
