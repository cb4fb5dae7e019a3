#pragma once

#include "commandbar/CommandBarState.h"
#include "support/UUID.h"

#include <QLocale>
#include <QTimeZone>
#include <QWidget>
#include <functional>

class QPushButton;

namespace torvo {

class ToneLabel;

/// What can be said about undoing an operation.
enum class UndoOffer { canUndo, underWay, undone, none };

[[nodiscard]] UndoOffer undoOffer(const Operation& operation, const CommandBarState& state);

/// "Created 2 files · 14:05": the subtitle and the time of day in the locale's short format. A date beyond all
/// calendars has no time.
[[nodiscard]] QString operationCaption(const Operation& operation, const QLocale& locale, const QTimeZone& zone);

/// One operation of the activity list.
class OperationRow final : public QWidget {
  public:
    struct Actions {
        std::function<void(const UUID&)> undo;
        std::function<void(const UUID&)> rerun;
    };
    /// Offers no undo yet.
    OperationRow(const Operation& operation, const Actions& actions);

    [[nodiscard]] const UUID& operation() const { return m_operation; }
    void setOffer(UndoOffer offer);

  private:
    UUID m_operation;
    QPushButton* m_undo;
    ToneLabel* m_mark;
};

} // namespace torvo
