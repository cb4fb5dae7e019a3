#include "windows/settings/ToolsSection.h"

#include "widgets/Buttons.h"
#include "widgets/ShownText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/ToneLabel.h"

namespace torvo {

namespace {

constexpr int kSymbolSide = 16;
constexpr int kListSpacing = 8;
constexpr int kTextSpacing = 1;

} // namespace

ToolsSection::ToolsSection(const SettingsServices& services) : SectionBox("Command tools"), m_services(services) {
    m_list = new QVBoxLayout;
    m_list->setSpacing(kListSpacing);
    rows().addLayout(m_list);
    for (const auto& tool : m_services.environment.tools())
        addTool(tool);
    auto& row = addRow();
    auto* refresh = makeButton("Refresh");
    refresh->setAccessibleDescription("Command tools");
    connect(refresh, &QPushButton::clicked, this, [this] { m_services.environment.refresh(); });
    row.addWidget(refresh);
    m_install = makeButton({});
    connect(m_install, &QPushButton::clicked, this, [this] { m_services.environment.installMissing(); });
    row.addWidget(m_install);
    m_status = new StatusCaption;
    row.addWidget(m_status, 1);
    row.addStretch();
    m_subscription = m_services.environment.observe([this] { showState(); });
    showState();
}

void ToolsSection::addTool(const ToolHealth& tool) {
    auto* row = new QHBoxLayout;
    row->setSpacing(kListSpacing);
    auto* symbol = new SymbolLabel(Symbol::circle, Tone::secondary, kSymbolSide);
    row->addWidget(symbol);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(kTextSpacing);
    auto* name = new ToneLabel(shownParagraph(tool.name));
    name->setFont(monospacedFont(styleFont(TextStyle::body).pixelSize()));
    texts->addWidget(name);
    texts->addWidget(new CaptionLabel(shownParagraph(tool.purpose)));
    row->addLayout(texts, 1);
    auto* state = new CaptionLabel({});
    state->setMaximumLines(1);
    row->addWidget(state);
    m_list->addLayout(row);
    m_tools.push_back({symbol, state});
}

void ToolsSection::showState() {
    const auto& environment = m_services.environment;
    // The tools are always the same ones; what changes is whether they are there.
    for (std::size_t index = 0; index < std::min(m_tools.size(), environment.tools().size()); ++index) {
        const bool isInstalled = environment.tools()[index].path.has_value();
        const auto& [symbol, state] = m_tools[index];
        symbol->setSymbol(isInstalled ? Symbol::checkmarkCircleFill : Symbol::circle,
                          isInstalled ? Tone::success : Tone::secondary);
        state->setText(isInstalled ? "Installed" : "Optional");
    }
    m_install->setVisible(!environment.missingPackages().empty());
    m_install->setText(environment.isInstalling() ? "Installing…" : "Install Missing Extras");
    m_install->setEnabled(!environment.isInstalling());
    m_status->say(environment.status());
}

} // namespace torvo
