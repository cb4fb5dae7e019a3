#pragma once

#include "widgets/Theme.h"

#include <QLabel>

namespace torvo {

/// One line of plain text that gives way where there is little room: what does not fit is cut out and shown as "…".
/// The whole text stays its accessible name, and its tool tip while it is cut.
class ElidedLabel : public QLabel {
  public:
    /// `size`: of the font, in device-independent pixels.
    explicit ElidedLabel(Tone tone, int size, Qt::TextElideMode mode = Qt::ElideMiddle, QWidget* parent = nullptr);

    void setTone(Tone tone);
    [[nodiscard]] Tone tone() const { return m_tone; }
    /// What can be seen of the text.
    [[nodiscard]] QString visibleText() const;

    [[nodiscard]] QSize sizeHint() const override;
    /// Room for a few letters.
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    Tone m_tone;
    Qt::TextElideMode m_mode;
};

} // namespace torvo
