#pragma once

#include "commandbar/CommandBarService.h"
#include "support/Observable.h"

#include <QWidget>
#include <utility>
#include <vector>

class QPushButton;
class QStackedLayout;

namespace torvo {

class OperationRow;
class ScrollColumn;

/// What was done, newest first, with Undo and Re-run for each.
class OperationLogView final : public QWidget {
  public:
    /// `service` must outlive the view.
    explicit OperationLogView(CommandBarService& service);

  protected:
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;

  private:
    /// What of the controller's state the list depends on; it tells of every key stroke.
    struct Seen {
        std::vector<std::pair<UUID, bool>> operations;
        bool isRunning = false;

        bool operator==(const Seen&) const = default;
    };

    [[nodiscard]] Seen look() const;
    void changed();
    /// Brings the rows up to date, and has the files looked at. Rows stay where they are still right.
    void refresh();
    void showOffers();
    [[nodiscard]] OperationRow* takeRow(const UUID& operation);

    CommandBarService& m_service;
    Seen m_seen;
    /// In the order of the operations; the layout owns them.
    std::vector<OperationRow*> m_rows;
    QPushButton* m_clear;
    QStackedLayout* m_pages;
    ScrollColumn* m_list;
    Subscription m_subscription;
};

} // namespace torvo
