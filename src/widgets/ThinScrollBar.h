#pragma once

#include <QScrollBar>

namespace torvo {

/// A narrow vertical scroll bar: a rounded handle without arrows or groove.
class ThinScrollBar final : public QScrollBar {
  public:
    explicit ThinScrollBar(QWidget* parent = nullptr) : QScrollBar(Qt::Vertical, parent) {
        setAttribute(Qt::WA_Hover);
        setAttribute(Qt::WA_OpaquePaintEvent, false);
    }

    [[nodiscard]] QSize sizeHint() const override { return {8, QScrollBar::sizeHint().height()}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace torvo
