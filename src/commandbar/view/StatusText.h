#pragma once

#include "widgets/Theme.h"

#include <QTextEdit>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvo {

/// The bar's status: plain text that wraps, can be selected and copied, and is announced when it changes. As high as
/// its text; a very long one scrolls.
class StatusText final : public QTextEdit {
  public:
    explicit StatusText(QWidget* parent = nullptr);

    /// Command lines are set in a fixed-width font. `firstLine`: the line from which on the text is seen, as far as it
    /// goes, when not all of it is.
    void present(const std::string& text, Tone tone, int firstLine = 0);

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

  protected:
    /// Keys that scroll and copy are its own; all others are the bar's.
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void applyColors();
    void showScrollBarIfNeeded();
    void showFirstLine();
    /// Of the text, if it is wrapped at that width.
    [[nodiscard]] double wholeHeight(int width) const;

    std::optional<std::string> m_text;
    int m_firstLine = 0;
    /// The user has scrolled since the text came.
    bool m_isScrolled = false;
    Tone m_tone = Tone::secondary;
    /// The heights of the present text at the widths that were asked for.
    mutable std::vector<std::pair<int, double>> m_measured;
};

} // namespace torvo
