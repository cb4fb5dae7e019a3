#include "windows/settings/ModelSection.h"

#include "widgets/Buttons.h"
#include "widgets/ShownText.h"
#include "widgets/SymbolLabel.h"
#include "widgets/ToneLabel.h"

namespace torvo {

namespace {

constexpr int kSymbolSide = 16;

} // namespace

ModelSection::ModelSection(const SettingsServices& services)
    : SectionBox("Local AI · guided setup"), m_services(services) {
    rows().addWidget(new CaptionLabel(QString("Recommended: %1, about 2.5 GB. Built-in presets work without AI.")
                                          .arg(QString::fromUtf8(kRecommendedModel))));
    auto& row = addRow();
    m_symbol = new SymbolLabel(Symbol::cpu, Tone::secondary, kSymbolSide);
    row.addWidget(m_symbol);
    m_status = new ToneLabel({});
    row.addWidget(m_status, 1);

    auto& buttons = addRow();
    auto* refresh = makeButton("Refresh");
    refresh->setAccessibleDescription("Local AI");
    connect(refresh, &QPushButton::clicked, this, [this] { m_services.modelSetup.refresh(); });
    buttons.addWidget(refresh);
    m_accept = makeButton({});
    connect(m_accept, &QPushButton::clicked, this,
            [this] { accept(m_offer, m_services.modelSetup, m_services.workspace); });
    buttons.addWidget(m_accept);
    buttons.addStretch();
    m_subscription = m_services.modelSetup.observe([this] { showState(); });
    showState();
}

void ModelSection::showState() {
    m_offer = modelOffer(m_services.modelSetup, m_services.defaults);
    const bool isReady = m_offer == ModelOffer::ready;
    m_symbol->setSymbol(isReady ? Symbol::checkmarkCircleFill : Symbol::cpu, isReady ? Tone::success : Tone::secondary);
    m_symbol->setAccessibleName(isReady ? "Ready" : "Not set up");
    m_status->setText(shownParagraph(m_services.modelSetup.status()));
    m_accept->setVisible(!isReady);
    m_accept->setText(m_offer == ModelOffer::getOllama ? "Get Ollama…" : "Use Recommended Model");
    m_accept->setEnabled(m_offer == ModelOffer::getOllama || !m_services.modelSetup.isDownloading());
}

} // namespace torvo
