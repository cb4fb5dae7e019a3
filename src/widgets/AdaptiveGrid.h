#pragma once

#include <QLayout>
#include <memory>
#include <vector>

namespace torvo {

/// How the columns of a grid come about: as many as fit, all of one width.
struct AdaptiveColumns {
    /// No column is narrower, unless the grid is.
    int minimumWidth = 150;
    /// Between columns and between rows.
    int spacing = 8;
};

/// How many columns of at least `columns.minimumWidth` stand side by side in `width`; at least one.
[[nodiscard]] int columnsThatFit(int width, const AdaptiveColumns& columns);

/// Lays its items out in as many equal columns as fit, row by row. An item that needs a wider column gets it.
class AdaptiveGrid final : public QLayout {
  public:
    explicit AdaptiveGrid(const AdaptiveColumns& columns) : m_columns(columns) {}
    ~AdaptiveGrid() override;
    AdaptiveGrid(const AdaptiveGrid&) = delete;
    AdaptiveGrid& operator=(const AdaptiveGrid&) = delete;

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] int count() const override { return static_cast<int>(m_items.size()); }
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    void setGeometry(const QRect& area) override;

  private:
    /// Places the items when there is an area to place them in; the height that they need in that width.
    int arrange(int width, const QRect* area) const;

    AdaptiveColumns m_columns;
    std::vector<QLayoutItem*> m_items;
};

} // namespace torvo
