#pragma once

#include "commandbar/view/CommandBarView.h"
#include "tests/support/Bar.h"
#include "tests/support/qt/BarPictures.h"

#include <QImage>
#include <QPalette>
#include <QWidget>

namespace torvo::testing {

/// The two kinds of desktop that pictures are drawn for.
enum class Colors { light, dark };

[[nodiscard]] QPalette paletteFor(Colors colors);

/// A widget and what is in it, on a background, at so many device pixels per pixel.
[[nodiscard]] QImage drawn(QWidget& widget, double scale, const QColor& background);

/// Draws the command bar as it lies on a desktop. Needs an application object.
class BarPainter {
  public:
    BarPainter() { m_bar.window.orderFront(); }

    /// Changes the application's palette.
    [[nodiscard]] QImage draw(const BarPicture& picture, Colors colors, double scale);

  private:
    Bar m_bar;
    FakeHotKeys m_keys;
    HotKeyCoordinator m_hotKey{m_keys, m_bar.defaults};
    CommandBarView m_view{*m_bar.service, m_hotKey, m_bar.panel, Backdrop::translucent};
};

} // namespace torvo::testing
