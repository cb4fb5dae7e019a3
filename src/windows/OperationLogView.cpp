#include "windows/OperationLogView.h"

#include "widgets/Buttons.h"
#include "widgets/SectionBox.h"
#include "widgets/SymbolLabel.h"
#include "widgets/TabOrder.h"
#include "widgets/ToneLabel.h"
#include "windows/OperationRow.h"

#include <QEvent>
#include <QStackedLayout>
#include <algorithm>

namespace torvo {

namespace {

constexpr int kPadding = 16;
constexpr int kHeaderSpacing = 12;
constexpr int kRowSpacing = 6;
constexpr int kEmptySpacing = 6;
constexpr int kEmptySymbolSide = 32;

QWidget* makeEmptyPage() {
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, kPadding, kPadding);
    column->setSpacing(kEmptySpacing);
    column->addStretch();
    column->addWidget(new SymbolLabel(Symbol::clockArrow, Tone::secondary, kEmptySymbolSide), 0, Qt::AlignHCenter);
    auto* line = new ToneLabel("No operations yet.");
    auto* caption = new CaptionLabel("Commands that create or rename files show up here — with Undo and Re-run.");
    for (auto* label : {line, static_cast<ToneLabel*>(caption)}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    column->addStretch();
    return page;
}

} // namespace

OperationLogView::OperationLogView(CommandBarService& service) : m_service(service) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadding, kPadding, 0, 0);
    column->setSpacing(kHeaderSpacing);
    auto* header = new QHBoxLayout;
    header->setContentsMargins(0, 0, kPadding, 0);
    header->addWidget(new ToneLabel("Activity", TextStyle::title3), 1);
    m_clear = makeButton("Clear");
    connect(m_clear, &QPushButton::clicked, this, [this] { m_service.clearLog(); });
    header->addWidget(m_clear);
    column->addLayout(header);

    m_pages = new QStackedLayout;
    m_pages->addWidget(makeEmptyPage());
    m_list = new ScrollColumn(kRowSpacing, {0, 0, kPadding, kPadding});
    m_list->column().addStretch();
    m_pages->addWidget(m_list);
    column->addLayout(m_pages, 1);

    m_subscription = m_service.observe([this] { changed(); });
}

void OperationLogView::showEvent(QShowEvent* event) {
    refresh();
    QWidget::showEvent(event);
}

bool OperationLogView::event(QEvent* event) {
    // The files may have changed while the user was elsewhere.
    if (event->type() == QEvent::WindowActivate)
        refresh();
    return QWidget::event(event);
}

OperationLogView::Seen OperationLogView::look() const {
    const auto& state = m_service.state();
    Seen seen{{}, state.isRunning};
    for (const auto& operation : state.operations)
        seen.operations.emplace_back(operation.id, operation.undone);
    return seen;
}

void OperationLogView::changed() {
    if (!isVisible())
        return;
    if (look() != m_seen)
        refresh();
    else
        showOffers();
}

OperationRow* OperationLogView::takeRow(const UUID& operation) {
    const auto found = std::ranges::find_if(m_rows, [&](const auto* row) { return row->operation() == operation; });
    if (found == m_rows.end())
        return nullptr;
    auto* row = *found;
    m_rows.erase(found);
    return row;
}

void OperationLogView::refresh() {
    m_seen = look();
    m_service.lookAtOperations();
    const auto& operations = m_service.state().operations;
    const OperationRow::Actions actions{[this](const UUID& id) {
                                            m_service.undo(id);
                                            // Also where it is refused, for the files are not what they were.
                                            m_service.lookAtOperations();
                                        },
                                        [this](const UUID& id) { m_service.rerun(id); }};
    std::vector<OperationRow*> rows;
    bool isReordered = false;
    for (const auto& operation : operations) {
        const auto index = static_cast<int>(rows.size());
        auto* row = takeRow(operation.id);
        if (row == nullptr)
            row = new OperationRow(operation, actions);
        if (m_list->column().indexOf(row) != index) {
            m_list->column().insertWidget(index, row);
            isReordered = true;
        }
        rows.push_back(row);
    }
    // What is left belongs to no operation any more. One of them may be the one whose button was clicked.
    for (auto* row : m_rows) {
        row->hide();
        m_list->column().removeWidget(row);
        row->deleteLater();
    }
    m_rows = std::move(rows);
    showOffers();
    m_clear->setEnabled(!operations.empty());
    m_pages->setCurrentIndex(operations.empty() ? 0 : 1);
    if (isReordered)
        orderTabs(*this);
}

void OperationLogView::showOffers() {
    const auto& state = m_service.state();
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setOffer(undoOffer(state.operations[i], state));
}

} // namespace torvo
