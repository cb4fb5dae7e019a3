#pragma once

#include "widgets/Symbol.h"

#include <QMargins>
#include <QPushButton>
#include <QString>
#include <optional>

namespace torvo {

/// A push button of one line that draws itself: a symbol, if it has one, and a label on a background of its kind. It
/// can be reached with Tab and pressed with Space and Return, and a click leaves the keyboard where it is.
class LabelButton : public QPushButton {
  public:
    /// The label as it is to be read; it makes no mnemonic. Where it is very long, its end is cut off.
    void setLabel(const QString& label);
    [[nodiscard]] const QString& label() const { return m_label; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    LabelButton(const QString& label, std::optional<Symbol> symbol, const QMargins& padding, QWidget* parent);

    /// Draws what lies behind the label.
    virtual void drawBackground(QPainter& painter, const QRectF& rectangle) const = 0;
    [[nodiscard]] virtual QColor labelColor() const = 0;
    /// The radius of the background's corners, which the mark of the keyboard follows.
    [[nodiscard]] virtual double cornerRadius() const = 0;

    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QString m_label;
    std::optional<Symbol> m_symbol;
    QMargins m_padding;
};

} // namespace torvo
