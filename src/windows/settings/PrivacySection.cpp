#include "windows/settings/PrivacySection.h"

#include "widgets/Buttons.h"
#include "widgets/ToneLabel.h"

#include <QCheckBox>

namespace torvo {

PrivacySection::PrivacySection(const SettingsServices& services)
    : SectionBox("Privacy & local data"), m_services(services) {
    m_logging = new QCheckBox("Save a local command log");
    connect(m_logging, &QCheckBox::toggled, this, [this](bool isOn) { setLogging(isOn); });
    rows().addWidget(m_logging);
    rows().addWidget(new CaptionLabel("Optional and off by default for new customers. When enabled, Torvo stores "
                                      "prompts, exact file paths, model replies, and outcomes locally in JSONL. It "
                                      "never uploads this log."));
    auto& row = addRow();
    const auto addButton = [&](const char* title, void (PrivacySection::*action)()) {
        auto* button = makeButton(QString::fromUtf8(title));
        connect(button, &QPushButton::clicked, this, [this, action] { (this->*action)(); });
        row.addWidget(button);
    };
    addButton("Reveal Log", &PrivacySection::revealLog);
    addButton("Clear Log", &PrivacySection::clearLog);
    addButton("Clear Command History", &PrivacySection::clearHistory);
    row.addStretch();
    m_status = new StatusCaption;
    rows().addWidget(m_status);
    appear();
}

void PrivacySection::appear() {
    showChecked(*m_logging, m_services.log.isEnabled());
}

void PrivacySection::say(const std::string& status) {
    m_status->say(status);
}

void PrivacySection::setLogging(bool isOn) {
    if (const auto stored = m_services.defaults.set("commandLoggingEnabled", isOn); !stored) {
        showChecked(*m_logging, m_services.log.isEnabled());
        say("Could not save the setting: " + stored.error());
    }
}

void PrivacySection::revealLog() {
    if (m_services.log.fileURL().exists())
        m_services.workspace.reveal({m_services.log.fileURL()});
    else
        say("No command log yet.");
}

void PrivacySection::clearLog() {
    const auto cleared = m_services.log.clear();
    say(cleared ? "Command log cleared." : "Could not clear log: " + cleared.error());
}

void PrivacySection::clearHistory() {
    m_services.commandBar.clearHistory();
    const auto removed = m_services.defaults.remove("commandHistory");
    say(removed ? "Command history cleared." : "Could not clear command history: " + removed.error());
}

} // namespace torvo
