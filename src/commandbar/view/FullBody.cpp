#include "commandbar/view/FullBody.h"

#include "commandbar/view/BarPresentation.h"
#include "widgets/SmallButton.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace torvo {

namespace {

constexpr int kLineSpacing = 7;
constexpr int kInputSpacing = 8;
constexpr int kAskSpacing = 8;

} // namespace

FullBody::FullBody(CommandBarService& service, CommandBarPanel& panel, QWidget* parent)
    : QWidget(parent),
      m_icon(new LeadingIcon(this)),
      m_field(new CommandTextField({.onSubmit = [&service](std::string text) { service.submit(std::move(text)); },
                                    .onCancel = [&service] { service.cancel(); },
                                    .onChange = [&service](std::string text) { service.inputChanged(std::move(text)); },
                                    .onMoveUp = [&service] { service.historyUp(); },
                                    .onMoveDown = [&service] { service.historyDown(); }},
                                   this)),
      m_status(new StatusText(this)),
      m_confirmation(
          new ConfirmationRow([&service] { service.confirmPending(); }, [&service] { service.cancel(); }, this)),
      m_results(new ResultRow([&service] { service.undoLast(); }, [&service] { service.revealLast(); }, this)),
      m_askAI(new QWidget(this)),
      m_chips(new ChipsRow([&service] { service.useClipboard(); },
                           [&service, &panel](std::string input) {
                               panel.makeKey();
                               service.submit(std::move(input));
                           },
                           this)) {
    auto* ask = new SmallButton(QStringLiteral("Ask AI to fix"), Symbol::wandAndStars, m_askAI);
    QObject::connect(ask, &QPushButton::clicked, this, [&service] { service.askAIToFix(); });
    auto* askRow = new QHBoxLayout(m_askAI);
    askRow->setContentsMargins({});
    askRow->setSpacing(kAskSpacing);
    askRow->addWidget(ask);
    askRow->addStretch(1);

    auto* input = new QHBoxLayout;
    input->setSpacing(kInputSpacing);
    input->addWidget(m_icon);
    input->addWidget(m_field);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(kLineSpacing);
    column->addLayout(input);
    column->addWidget(m_status);
    for (QWidget* row : {static_cast<QWidget*>(m_confirmation), static_cast<QWidget*>(m_results), m_askAI,
                         static_cast<QWidget*>(m_chips)}) {
        row->hide();
        column->addWidget(row);
    }
    // What the panel has to spare while it is being fitted stays below.
    column->addStretch(1);
}

void FullBody::present(const CommandBarState& state) {
    m_icon->present(leadingIcon(state));
    m_field->showText(state.text);
    m_status->present(shownStatus(state), statusTone(state.statusKind), lineOfCommand(state));
    showRow(state);
    m_field->setFocusTrigger(state.focusTrigger);
}

void FullBody::showRow(const CommandBarState& state) {
    const auto row = contextualRow(state);
    if (row == ContextualRow::confirmation)
        m_confirmation->present(state);
    else if (row == ContextualRow::results)
        m_results->present(state.resultOutputs);
    else if (row == ContextualRow::chips)
        m_chips->present(state.chips, state.clipboardAvailable);

    // The keyboard goes back to the field when the button under it goes.
    for (const auto& [widget, kind] : {std::pair<QWidget*, ContextualRow>(m_confirmation, ContextualRow::confirmation),
                                       {m_results, ContextualRow::results},
                                       {m_askAI, ContextualRow::askAI},
                                       {m_chips, ContextualRow::chips}}) {
        if (kind == row)
            continue;
        if (const auto* focused = widget->focusWidget(); focused != nullptr && focused->hasFocus())
            m_field->setFocus(Qt::OtherFocusReason);
        widget->hide();
    }
    switch (row) {
    case ContextualRow::confirmation:
        m_confirmation->setVisible(true);
        break;
    case ContextualRow::results:
        m_results->setVisible(true);
        break;
    case ContextualRow::askAI:
        m_askAI->setVisible(true);
        break;
    case ContextualRow::chips:
        m_chips->setVisible(true);
        break;
    case ContextualRow::none:
        break;
    }
}

} // namespace torvo
