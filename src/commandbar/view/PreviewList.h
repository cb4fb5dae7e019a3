#pragma once

#include "execution/PreviewRow.h"
#include "widgets/ElidedLabel.h"

#include <QListView>
#include <QWidget>
#include <cstddef>
#include <vector>

namespace torvo {

/// What a command will rename or touch: a list that scrolls, at most 140 pixels high, of the first 50 rows, and how
/// many there are beyond.
class PreviewList final : public QWidget {
  public:
    explicit PreviewList(QWidget* parent = nullptr);

    void present(const std::vector<PreviewRow>& rows);
    [[nodiscard]] const QListView& list() const { return *m_list; }

  private:
    class Rows;

    Rows* m_rows;
    QListView* m_list;
    ElidedLabel* m_more;
};

} // namespace torvo
