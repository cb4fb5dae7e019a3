#include "windows/OperationRow.h"

#include "widgets/Buttons.h"
#include "widgets/SectionBox.h"
#include "widgets/ShownText.h"
#include "widgets/ToneLabel.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <algorithm>
#include <cmath>

namespace torvo {

namespace {

constexpr double kReferenceDate = 978'307'200;
/// Seconds; some three thousand years, on either side of the reference date.
constexpr double kFarthestDate = 1e11;

constexpr int kPadding = 10;
constexpr int kTextSpacing = 2;
constexpr int kButtonSpacing = 8;
constexpr int kTitleLines = 3;

} // namespace

UndoOffer undoOffer(const Operation& operation, const CommandBarState& state) {
    const auto isIn = [&](const std::vector<UUID>& ids) { return std::ranges::find(ids, operation.id) != ids.end(); };
    if (operation.undone)
        return UndoOffer::undone;
    if (isIn(state.undoing))
        return UndoOffer::underWay;
    return isIn(state.undoable) ? UndoOffer::canUndo : UndoOffer::none;
}

QString operationCaption(const Operation& operation, const QLocale& locale, const QTimeZone& zone) {
    QString time;
    if (std::abs(operation.date) < kFarthestDate) {
        const auto milliseconds = static_cast<qint64>((operation.date + kReferenceDate) * 1000);
        const auto clock = QDateTime::fromMSecsSinceEpoch(milliseconds, zone).time();
        // The C locale has no short format of its own.
        time = locale.language() == QLocale::C ? clock.toString("HH:mm") : locale.toString(clock, QLocale::ShortFormat);
    }
    return shownParagraph(operation.subtitle()) + " · " + time;
}

OperationRow::OperationRow(const Operation& operation, const Actions& actions) : m_operation(operation.id) {
    const auto title = shownParagraph(operation.title);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins({});
    auto* panel = new FormPanel;
    outer->addWidget(panel);
    auto* row = new QHBoxLayout(panel);
    row->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    row->setSpacing(kButtonSpacing);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(kTextSpacing);
    auto* titleLabel = new ToneLabel(title);
    titleLabel->setMaximumLines(kTitleLines);
    texts->addWidget(titleLabel);
    const auto caption = operationCaption(operation, QLocale(), QTimeZone::systemTimeZone());
    texts->addWidget(new CaptionLabel(caption));
    row->addLayout(texts, 1);

    m_undo = makeSmallButton("Undo");
    const auto spokenRow = title + ", " + caption;
    m_undo->setAccessibleDescription(spokenRow);
    connect(m_undo, &QPushButton::clicked, this, [id = m_operation, undo = actions.undo] { undo(id); });
    row->addWidget(m_undo);
    m_mark = new CaptionLabel({}, Tone::tertiary);
    m_mark->setMaximumLines(1);
    row->addWidget(m_mark);
    auto* rerun = makeSmallButton("Re-run");
    rerun->setAccessibleDescription(spokenRow);
    connect(rerun, &QPushButton::clicked, this, [id = m_operation, again = actions.rerun] { again(id); });
    row->addWidget(rerun);
    setOffer(UndoOffer::none);
}

void OperationRow::setOffer(UndoOffer offer) {
    m_undo->setVisible(offer == UndoOffer::canUndo);
    m_mark->setText(offer == UndoOffer::underWay ? "Undoing…" : "Undone");
    m_mark->setVisible(offer == UndoOffer::underWay || offer == UndoOffer::undone);
}

} // namespace torvo
