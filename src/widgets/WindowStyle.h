#pragma once

#include <QPainter>
#include <QPalette>
#include <QProxyStyle>

namespace torvo {

/// How a button is seen.
enum class Press { up, hovered, down };
[[nodiscard]] Press pressOf(QStyle::State state);

/// Draws the body of a bordered button, which its label goes on.
void drawButtonBody(QPainter& painter, const QRectF& area, const QPalette& palette, Press press);

/// The look of ordinary controls in all windows: flat bodies with round corners and edges that can be seen, the accent
/// colour around what has the keyboard, scroll bars of a handle alone.
class WindowStyle final : public QProxyStyle {
  public:
    WindowStyle();

    void polish(QPalette& palette) override;
    void polish(QWidget* widget) override;
    using QProxyStyle::polish;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                       const QWidget* widget) const override;
    [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
                                       const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                                         const QWidget* widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
};

} // namespace torvo
