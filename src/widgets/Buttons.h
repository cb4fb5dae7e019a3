#pragma once

#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <QPushButton>
#include <QToolButton>

namespace torvo {

/// A bordered button of the usual size.
[[nodiscard]] QPushButton* makeButton(const QString& title);
/// A bordered button in small type, for rows.
[[nodiscard]] QPushButton* makeSmallButton(const QString& title);

/// Checks a button, or not, to show what is so: `toggled` tells only of what the user changes, by whatever means.
void showChecked(QAbstractButton& button, bool isChecked);

/// A bordered button whose label begins at its leading edge.
class LeadingButton final : public QPushButton {
  public:
    using QPushButton::QPushButton;
    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A button filled with the accent colour: always, as the one of its window that stands out, or while it is checked.
class AccentButton final : public QPushButton {
  public:
    enum class Filled { always, whileChecked };
    AccentButton(const QString& title, Filled filled);
    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Filled m_filled;
};

/// A button without a border that shows a symbol alone.
class SymbolButton final : public QToolButton {
  public:
    /// `spokenName`: what the button does, for those who hear it.
    SymbolButton(Symbol symbol, Tone tone, const QString& spokenName);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Symbol m_symbol;
    Tone m_tone;
};

} // namespace torvo
