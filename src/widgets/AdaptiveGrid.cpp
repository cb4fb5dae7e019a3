#include "widgets/AdaptiveGrid.h"

#include <QWidget>
#include <algorithm>

namespace torvo {

int columnsThatFit(int width, const AdaptiveColumns& columns) {
    const int step = columns.minimumWidth + columns.spacing;
    return step <= 0 ? 1 : std::max(1, (width + columns.spacing) / step);
}

AdaptiveGrid::~AdaptiveGrid() {
    for (auto* item : m_items)
        delete item;
}

void AdaptiveGrid::addItem(QLayoutItem* item) {
    m_items.push_back(item);
    invalidate();
}

QLayoutItem* AdaptiveGrid::itemAt(int index) const {
    return index >= 0 && index < count() ? m_items[static_cast<std::size_t>(index)] : nullptr;
}

QLayoutItem* AdaptiveGrid::takeAt(int index) {
    auto* item = itemAt(index);
    if (item != nullptr) {
        m_items.erase(m_items.begin() + index);
        invalidate();
    }
    return item;
}

int AdaptiveGrid::arrange(int width, const QRect* area) const {
    auto columns = m_columns;
    for (const auto* item : m_items)
        columns.minimumWidth = std::max(columns.minimumWidth, item->sizeHint().width());
    const int count = columnsThatFit(width, columns);
    const int column = std::max(0, (width - (count - 1) * columns.spacing) / count);
    int y = 0;
    for (std::size_t first = 0; first < m_items.size(); first += static_cast<std::size_t>(count)) {
        const auto last = std::min(m_items.size(), first + static_cast<std::size_t>(count));
        int height = 0;
        for (auto index = first; index < last; ++index)
            height = std::max(height, m_items[index]->sizeHint().height());
        for (auto index = first; area != nullptr && index < last; ++index) {
            const int x = static_cast<int>(index - first) * (column + columns.spacing);
            const QRect cell(area->x() + x, area->y() + y, column, height);
            const bool isMirrored = parentWidget() != nullptr && parentWidget()->layoutDirection() == Qt::RightToLeft;
            m_items[index]->setGeometry(isMirrored ? QRect(area->right() + 1 - x - column, cell.y(), column, height)
                                                   : cell);
        }
        y += height + columns.spacing;
    }
    return std::max(0, y - columns.spacing);
}

int AdaptiveGrid::heightForWidth(int width) const {
    const auto margins = contentsMargins();
    return arrange(width - margins.left() - margins.right(), nullptr) + margins.top() + margins.bottom();
}

QSize AdaptiveGrid::sizeHint() const {
    return {minimumSize().width(), heightForWidth(minimumSize().width())};
}

QSize AdaptiveGrid::minimumSize() const {
    const auto margins = contentsMargins();
    int height = 0;
    for (const auto* item : m_items)
        height = std::max(height, item->sizeHint().height());
    return {m_columns.minimumWidth + margins.left() + margins.right(), height + margins.top() + margins.bottom()};
}

void AdaptiveGrid::setGeometry(const QRect& area) {
    QLayout::setGeometry(area);
    const auto inner = area.marginsRemoved(contentsMargins());
    arrange(inner.width(), &inner);
}

} // namespace torvo
