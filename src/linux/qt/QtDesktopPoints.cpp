#include "linux/qt/QtDesktopPoints.h"

#include <QGuiApplication>
#include <QList>
#include <QRectF>
#include <cmath>
#include <utility>
#include <vector>

namespace torvo {

namespace {

/// A screen on the whole desktop, in pixels: Qt leaves its corner where it is and scales the rest.
QRectF pixels(const QScreen& screen) {
    const auto geometry = screen.geometry();
    return {QPointF(geometry.topLeft()), QSizeF(geometry.size()) * screen.devicePixelRatio()};
}

const QScreen* screenAt(const QPointF& pixel) {
    for (const auto* screen : QGuiApplication::screens())
        if (pixels(*screen).contains(pixel))
            return screen;
    return nullptr;
}

/// The screen that Qt puts a window on: the one that holds its middle, else one that holds some of it, else the last
/// one.
const QScreen& screenOf(const QRect& geometry, const QScreen& last) {
    const auto* found = &last;
    for (const auto* screen : QGuiApplication::screens()) {
        if (screen->geometry().contains(geometry.center()))
            return *screen;
        if (screen->geometry().intersects(geometry))
            found = screen;
    }
    return *found;
}

double heightInPoints(const DesktopPoints& points, const Rect& primary) {
    return points.fromPixels({0, 0, primary.width, primary.height}).height;
}

} // namespace

DesktopPoints qtDesktopPoints(const Rect& primary) {
    std::vector<DesktopPoints::Area> areas;
    for (const auto* screen : QGuiApplication::screens()) {
        const auto area = pixels(*screen);
        areas.push_back(
            {{area.x() - primary.x, area.y() - primary.y, area.width(), area.height()}, screen->devicePixelRatio()});
    }
    return DesktopPoints(std::move(areas));
}

Rect fromQtGeometry(const Rect& primary, const QRect& geometry, const QScreen& last) {
    const auto points = qtDesktopPoints(primary);
    const auto& screen = screenOf(geometry, last);
    const QPointF anchor(screen.geometry().topLeft());
    const auto corner = anchor + (QPointF(geometry.topLeft()) - anchor) * screen.devicePixelRatio();
    // By the pixel at the corner, as `toQtGeometry` has it.
    const auto place = points.fromPixels({corner.x() - primary.x, corner.y() - primary.y, 1, 1});
    return {place.x, heightInPoints(points, primary) - place.y - geometry.height(),
            static_cast<double>(geometry.width()), static_cast<double>(geometry.height())};
}

QRect toQtGeometry(const Rect& primary, const Rect& frame) {
    const auto points = qtDesktopPoints(primary);
    const auto place =
        points.toPixels({frame.x, heightInPoints(points, primary) - frame.top(), frame.width, frame.height});
    const QPointF corner(place.x + primary.x, place.y + primary.y);
    const auto* screen = screenAt(corner + QPointF(place.width, place.height) / 2);
    if (screen == nullptr)
        screen = screenAt(corner);
    if (screen == nullptr)
        screen = QGuiApplication::primaryScreen();
    const QPointF anchor(screen == nullptr ? QPointF() : QPointF(screen->geometry().topLeft()));
    const double scale = screen == nullptr ? 1 : screen->devicePixelRatio();
    return {(anchor + (corner - anchor) / scale).toPoint(), QSizeF(frame.width, frame.height).toSize()};
}

} // namespace torvo
