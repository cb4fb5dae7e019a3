#include "windows/settings/RulesSection.h"

#include "support/Text.h"
#include "widgets/Buttons.h"
#include "widgets/FormField.h"
#include "widgets/ShownText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/TabOrder.h"
#include "widgets/ToneLabel.h"

#include <QLineEdit>

namespace torvo {

namespace {

constexpr int kListSpacing = 4;
constexpr int kTriggerWidth = 110;
constexpr int kArrowSide = 11;

} // namespace

bool canAddRule(std::string_view trigger, std::string_view expansion) {
    return !trimmed(trigger, TextTrim::spacesAndLineBreaks).empty() &&
           !trimmed(expansion, TextTrim::spacesAndLineBreaks).empty();
}

RulesSection::RulesSection(const SettingsServices& services)
    : SectionBox("Saved shortcuts (Rules)"), m_services(services) {
    rows().addWidget(new CaptionLabel("Create a short trigger that expands into a fuller command — e.g. “web” → "
                                      "“resize to 1000px wide and convert to jpg”. Type the trigger in the bar (or tap "
                                      "its chip) to run it."));
    m_list = new QVBoxLayout;
    m_list->setSpacing(kListSpacing);
    rows().addLayout(m_list);
    addRuleFields();
    m_status = new StatusCaption(Tone::failure);
    rows().addWidget(m_status);
    m_failures = m_services.defaults.observeFailures([this](const std::string& key, const std::string& error) {
        if (key == kRulesKey)
            showResult(std::unexpected(error));
    });
    updateAdd();
    appear();
}

void RulesSection::addRuleFields() {
    auto& row = addRow();
    m_trigger = new FormField;
    m_trigger->setFixedWidth(kTriggerWidth);
    m_trigger->setPlaceholderText("trigger");
    m_trigger->setAccessibleName("trigger");
    row.addWidget(m_trigger);
    row.addWidget(new SymbolLabel(Symbol::arrowRight, Tone::tertiary, kArrowSide));
    m_expansion = new FormField;
    m_expansion->setPlaceholderText("expands to…");
    m_expansion->setAccessibleName("expands to…");
    row.addWidget(m_expansion, 1);
    m_add = makeButton("Add");
    row.addWidget(m_add);
    connect(m_add, &QPushButton::clicked, this, [this] { add(); });
    for (auto* field : {m_trigger, m_expansion}) {
        connect(field, &QLineEdit::textChanged, this, [this] { updateAdd(); });
        connect(field, &QLineEdit::returnPressed, m_add, [this] { m_add->click(); });
    }
}

void RulesSection::appear() {
    m_store = std::make_unique<RulesStore>(m_services.defaults);
    showRules();
}

QWidget* RulesSection::makeRuleRow(const Rule& rule) {
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins({});
    row->setSpacing(kSideSpacing);
    auto* trigger = new ToneLabel(shownParagraph(rule.trigger));
    trigger->setMaximumLines(1);
    // The arrows stand below each other, and over the one of the fields.
    trigger->setMinimumWidth(kTriggerWidth);
    trigger->setMaximumWidth(2 * kTriggerWidth);
    row->addWidget(trigger);
    row->addWidget(new SymbolLabel(Symbol::arrowRight, Tone::tertiary, kArrowSide));
    auto* expansion = new ToneLabel(shownParagraph(rule.expansion), TextStyle::body, Tone::secondary);
    expansion->setMaximumLines(1);
    row->addWidget(expansion, 1);
    auto* remover = new SymbolButton(Symbol::trash, Tone::failure, "Remove " + shownParagraph(rule.trigger));
    connect(remover, &QToolButton::clicked, this, [this, id = rule.id] { remove(id); });
    row->addWidget(remover);
    return box;
}

void RulesSection::showRules() {
    while (auto* item = m_list->takeAt(0)) {
        // Perhaps the row whose button was clicked.
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    for (const auto& rule : m_store->rules())
        m_list->addWidget(makeRuleRow(rule));
    orderTabs(*window());
}

void RulesSection::updateAdd() {
    m_add->setEnabled(canAddRule(m_trigger->text().toStdString(), m_expansion->text().toStdString()));
}

void RulesSection::add() {
    const auto saved = m_store->add(m_trigger->text().toStdString(), m_expansion->text().toStdString());
    // The button is about to be disabled; the next rule begins with its trigger.
    m_trigger->setFocus();
    m_trigger->clear();
    m_expansion->clear();
    showResult(saved);
}

void RulesSection::remove(const UUID& rule) {
    const auto saved = m_store->remove(rule);
    m_trigger->setFocus();
    showResult(saved);
}

void RulesSection::showResult(const std::expected<void, std::string>& saved) {
    m_status->say(saved ? "" : saved.error());
    showRules();
}

} // namespace torvo
