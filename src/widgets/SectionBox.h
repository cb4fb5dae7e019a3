#pragma once

#include <QBoxLayout>
#include <QScrollArea>
#include <QWidget>

namespace torvo {

/// A rounded panel that is set off from the window.
class FormPanel final : public QWidget {
  public:
    FormPanel() = default;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A titled group of rows in a form.
class SectionBox : public QWidget {
  public:
    explicit SectionBox(const QString& title);

    /// Between widgets side by side.
    static constexpr int kSideSpacing = 8;

    /// Where the rows go, from top to bottom.
    [[nodiscard]] QVBoxLayout& rows() { return *m_rows; }
    /// Adds a row that holds widgets side by side, and returns its layout.
    QHBoxLayout& addRow();

  private:
    QVBoxLayout* m_rows;
};

/// A column that scrolls vertically, without a frame of its own. The scroll bar takes its room from the padding: the
/// items are as wide with it as without it.
class ScrollColumn final : public QScrollArea {
  public:
    /// `spacing`: between the items.
    ScrollColumn(int spacing, const QMargins& padding);

    [[nodiscard]] QVBoxLayout& column() { return *m_column; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    QMargins m_padding;
    QVBoxLayout* m_column;
};

} // namespace torvo
