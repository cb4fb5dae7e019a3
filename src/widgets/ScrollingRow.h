#pragma once

#include <QHBoxLayout>
#include <QScrollArea>

namespace torvo {

/// A row of widgets that scrolls sideways, by the wheel or by moving the keyboard to a widget that is out of sight. It
/// shows no scroll bar: where it goes on, it fades.
class ScrollingRow final : public QScrollArea {
  public:
    /// `bottomPadding`: room that stays free below the widgets.
    ScrollingRow(int spacing, int bottomPadding, QWidget* parent = nullptr);

    /// Appends a widget; the row takes it over.
    void addWidget(QWidget* widget);
    void scrollToStart();
    /// Gives the widgets the room that they ask for by now. The row does so by itself when its turn of the main loop
    /// comes.
    void settle();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

  protected:
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    class Fade;

    void placeFades();

    QHBoxLayout* m_row;
    Fade* m_leftFade;
    Fade* m_rightFade;
};

} // namespace torvo
