#include "widgets/Symbol.h"

#include <QIconEngine>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPixmap>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>

namespace torvo {

namespace {

constexpr double kGrid = 16;
/// The width of the lines of the outlined symbols.
constexpr double kLine = 1.4;

QPainterPath outlined(const QPainterPath& path, double width = kLine) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path);
}

QPainterPath lines(std::initializer_list<QPointF> points) {
    QPainterPath path;
    for (const auto* point = points.begin(); point != points.end(); ++point)
        point == points.begin() ? path.moveTo(*point) : path.lineTo(*point);
    return path;
}

QPainterPath disc(const QPointF& centre, double radius) {
    QPainterPath path;
    path.addEllipse(centre, radius, radius);
    return path;
}

QPainterPath box(const QRectF& rectangle, double radius) {
    QPainterPath path;
    path.addRoundedRect(rectangle, radius, radius);
    return path;
}

/// A star with four points and hollow sides.
QPainterPath sparkle(const QPointF& centre, double radius) {
    const double waist = radius * 0.16;
    QPainterPath path(centre + QPointF(0, -radius));
    path.quadTo(centre + QPointF(waist, -waist), centre + QPointF(radius, 0));
    path.quadTo(centre + QPointF(waist, waist), centre + QPointF(0, radius));
    path.quadTo(centre + QPointF(-waist, waist), centre + QPointF(-radius, 0));
    path.quadTo(centre + QPointF(-waist, -waist), centre + QPointF(0, -radius));
    return path;
}

QPainterPath polygon(int corners, const QPointF& centre, double radius, double firstAngle) {
    QPainterPath path;
    for (int corner = 0; corner < corners; ++corner) {
        const double angle = firstAngle + corner * 2 * std::numbers::pi / corners;
        const auto point = centre + radius * QPointF(std::cos(angle), std::sin(angle));
        corner == 0 ? path.moveTo(point) : path.lineTo(point);
    }
    path.closeSubpath();
    return path;
}

/// The same shape with its corners rounded by `radius`.
QPainterPath softened(const QPainterPath& path, double radius) {
    return path.united(outlined(path, 2 * radius)).simplified();
}

QPainterPath exclamationMark(double top, double bottom, double dot) {
    return outlined(lines({{8, top}, {8, bottom}}), 1.6).united(disc({8, dot}, 0.95));
}

QPainterPath wand() {
    return outlined(lines({{2.8, 13.2}, {9.2, 6.8}}), 1.9)
        .united(sparkle({11.6, 4.4}, 3.2))
        .united(sparkle({5.2, 3.9}, 2.1))
        .united(sparkle({12.8, 11.2}, 2.1));
}

QPainterPath clipboardSheet() {
    return outlined(box({3.2, 2.9, 9.6, 11.4}, 1.6))
        .united(box({5.4, 1.4, 5.2, 3.1}, 1.1))
        .united(outlined(lines({{5.8, 7.6}, {10.2, 7.6}}), 1.2))
        .united(outlined(lines({{5.8, 10.4}, {9, 10.4}}), 1.2));
}

QPainterPath bin() {
    return outlined(lines({{2.8, 4.2}, {13.2, 4.2}}))
        .united(outlined(lines({{6, 4}, {6.4, 2.4}, {9.6, 2.4}, {10, 4}})))
        .united(outlined(lines({{4.1, 4.4}, {4.8, 13.6}, {11.2, 13.6}, {11.9, 4.4}})))
        .united(outlined(lines({{6.8, 6.9}, {7, 11.2}}), 1.1))
        .united(outlined(lines({{9.2, 6.9}, {9, 11.2}}), 1.1));
}

QPainterPath chip() {
    auto path = outlined(box({3.8, 3.8, 8.4, 8.4}, 1.4)).united(box({6.2, 6.2, 3.6, 3.6}, 0.8));
    for (const double at : {5.9, 10.1}) {
        for (const auto& pin : {lines({{at, 1.7}, {at, 3.6}}), lines({{at, 12.4}, {at, 14.3}}),
                                lines({{1.7, at}, {3.6, at}}), lines({{12.4, at}, {14.3, at}})})
            path = path.united(outlined(pin, 1.2));
    }
    return path;
}

QPainterPath clockTurnedBack() {
    QPainterPath arc;
    const QRectF face(2.4, 2.4, 11.2, 11.2);
    arc.arcMoveTo(face, 165);
    arc.arcTo(face, 165, -310);
    return outlined(arc)
        .united(outlined(lines({{8, 5}, {8, 8.3}, {10.3, 9.6}}), 1.3))
        .united(softened(lines({{0.9, 5.2}, {4.7, 5.6}, {2.2, 8.3}, {0.9, 5.2}}), 0.3));
}

QPainterPath drawing(Symbol symbol) {
    const QPointF middle(8, 8);
    switch (symbol) {
    case Symbol::wandAndStars:
        return wand();
    case Symbol::exclamationOctagonFill:
        return softened(polygon(8, middle, 6.7, std::numbers::pi / 8), 0.6).subtracted(exclamationMark(4.7, 8.6, 11.1));
    case Symbol::exclamationTriangleFill:
        return softened(lines({{8, 2.7}, {14.1, 13.1}, {1.9, 13.1}, {8, 2.7}}), 1.2)
            .subtracted(exclamationMark(6, 9.3, 11.8));
    case Symbol::checkmarkCircleFill:
        return disc(middle, 6.9).subtracted(outlined(lines({{5, 8.3}, {7.2, 10.5}, {11, 5.9}}), 1.7));
    case Symbol::checkmark:
        return outlined(lines({{3.2, 8.6}, {6.5, 12}, {12.8, 4.3}}), 1.8);
    case Symbol::circle:
        return outlined(disc(middle, 6.2));
    case Symbol::arrowRight:
        return outlined(lines({{2.6, 8}, {13, 8}}), 1.7).united(outlined(lines({{9, 3.8}, {13.2, 8}, {9, 12.2}}), 1.7));
    case Symbol::clipboard:
        return clipboardSheet();
    case Symbol::trash:
        return bin();
    case Symbol::cpu:
        return chip();
    case Symbol::sparkles:
        return sparkle({6.4, 9}, 5.2).united(sparkle({12.4, 4}, 2.8)).united(sparkle({12.8, 12.6}, 2));
    case Symbol::clockArrow:
        return clockTurnedBack();
    }
    return {};
}

/// Each symbol is put together once.
const QPainterPath& pathOf(Symbol symbol) {
    static std::array<std::optional<QPainterPath>, static_cast<std::size_t>(Symbol::clockArrow) + 1> paths;
    auto& path = paths[static_cast<std::size_t>(symbol)];
    if (!path)
        path = drawing(symbol);
    return *path;
}

class SymbolIconEngine final : public QIconEngine {
  public:
    SymbolIconEngine(Symbol symbol, const QColor& color) : m_symbol(symbol), m_color(color) {}

    void paint(QPainter* painter, const QRect& rectangle, QIcon::Mode mode, QIcon::State) override {
        auto color = m_color;
        if (mode == QIcon::Disabled)
            color.setAlphaF(color.alphaF() * 0.4F);
        const double side = std::min(rectangle.width(), rectangle.height());
        QRectF square(0, 0, side, side);
        square.moveCenter(QRectF(rectangle).center());
        drawSymbol(*painter, m_symbol, square, color);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, {{0, 0}, size}, mode, state);
        return picture;
    }
    [[nodiscard]] QIconEngine* clone() const override { return new SymbolIconEngine(*this); }

  private:
    Symbol m_symbol;
    QColor m_color;
};

} // namespace

void drawSymbol(QPainter& painter, Symbol symbol, const QRectF& square, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / kGrid, square.height() / kGrid);
    painter.fillPath(pathOf(symbol), color);
    painter.restore();
}

QIcon symbolIcon(Symbol symbol, const QColor& color) {
    return QIcon(new SymbolIconEngine(symbol, color));
}

} // namespace torvo
