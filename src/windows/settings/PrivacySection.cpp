#include "windows/settings/PrivacySection.h"

#include "widgets/Buttons.h"
#include "widgets/ToneLabel.h"

#include <QCheckBox>
#include <QPointer>

namespace torvo {

namespace {

constexpr std::string_view kLogging = "commandLoggingEnabled";
constexpr std::string_view kHistory = "commandHistory";

} // namespace

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
    m_failures = m_services.defaults.observeFailures([this](const std::string& key, const std::string& error) {
        if (key == kLogging)
            loggingNotStored(error);
        else if (key == kHistory)
            say(error);
    });
    appear();
}

void PrivacySection::appear() {
    showChecked(*m_logging, m_services.log.isEnabled());
}

void PrivacySection::say(const std::string& status) {
    m_status->say(status);
}

void PrivacySection::setLogging(bool isOn) {
    if (const auto stored = m_services.defaults.set(kLogging, isOn); !stored)
        loggingNotStored(stored.error());
}

void PrivacySection::loggingNotStored(const std::string& error) {
    showChecked(*m_logging, m_services.log.isEnabled());
    say(error);
}

void PrivacySection::revealLog() {
    if (m_services.log.fileURL().exists())
        m_services.workspace.reveal({m_services.log.fileURL()});
    else
        say("No command log yet.");
}

void PrivacySection::clearLog() {
    m_services.log.clear([&dispatcher = m_services.dispatcher, section = QPointer(this)](const auto& cleared) {
        dispatcher.runOnMain([section, cleared] {
            if (section != nullptr)
                section->say(cleared ? "Command log cleared." : "Could not clear log: " + cleared.error());
        });
    });
}

void PrivacySection::clearHistory() {
    m_services.commandBar.clearHistory();
    const auto removed = m_services.defaults.remove(kHistory);
    say(removed ? "Command history cleared." : "Could not clear command history: " + removed.error());
}

} // namespace torvo
