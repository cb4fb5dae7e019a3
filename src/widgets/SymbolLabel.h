#pragma once

#include "widgets/Symbol.h"
#include "widgets/Theme.h"

#include <QWidget>

namespace torvo {

/// A symbol in a tone that follows the palette.
class SymbolLabel final : public QWidget {
  public:
    /// `side`: of the square, in device-independent pixels.
    SymbolLabel(Symbol symbol, Tone tone, int side);

    void setSymbol(Symbol symbol, Tone tone);
    [[nodiscard]] Symbol symbol() const { return m_symbol; }
    [[nodiscard]] Tone tone() const { return m_tone; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    Symbol m_symbol;
    Tone m_tone;
};

/// A circle that holds the number of a step, or a check mark once the step is done.
class NumberBadge final : public QWidget {
  public:
    explicit NumberBadge(int number);

    void setDone(bool isDone);
    [[nodiscard]] bool isDone() const { return m_isDone; }
    [[nodiscard]] int number() const { return m_number; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    int m_number;
    bool m_isDone = false;
};

} // namespace torvo
