#include "windows/settings/BehaviorSection.h"

#include "desktop/LaunchAtLoginService.h"
#include "desktop/SettingsStore.h"
#include "widgets/Buttons.h"
#include "widgets/ToneLabel.h"

#include <QCheckBox>

namespace torvo {

namespace {

/// The pane of the system's settings that lists what starts at login.
constexpr const char* kLoginItemsPane = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";

} // namespace

BehaviorSection::BehaviorSection(const SettingsServices& services, Report report)
    : SectionBox("Behavior"), m_services(services), m_report(std::move(report)) {
    m_launchAtLogin = new QCheckBox("Launch Torvo at login");
    connect(m_launchAtLogin, &QCheckBox::toggled, this, [this](bool isOn) { setLaunchAtLogin(isOn); });
    rows().addWidget(m_launchAtLogin);

    m_approval = new QWidget;
    auto* approval = new QHBoxLayout(m_approval);
    approval->setContentsMargins({});
    approval->addWidget(new CaptionLabel("Approval required in System Settings.", Tone::warning), 1);
    auto* openItems = makeSmallButton("Open Login Items…");
    connect(openItems, &QPushButton::clicked, this, [this] { m_services.workspace.open(kLoginItemsPane); });
    approval->addWidget(openItems);
    rows().addWidget(m_approval);

    m_dryRun = new QCheckBox("Preview every command before running (dry-run)");
    connect(m_dryRun, &QCheckBox::toggled, this, [this](bool isOn) { setDryRun(isOn); });
    rows().addWidget(m_dryRun);
    rows().addWidget(
        new CaptionLabel("Show the command and the files it will touch, and confirm, before anything runs. "
                         "(Rename/move operations always preview.)"));
    appear();
}

void BehaviorSection::appear() {
    showChecked(*m_launchAtLogin, m_services.loginItem.status() == LoginItemStatus::enabled);
    showApproval();
    showChecked(*m_dryRun, SettingsStore::dryRunPreview(m_services.defaults));
}

void BehaviorSection::setLaunchAtLogin(bool isOn) {
    if (const auto changed = LaunchAtLoginService::setEnabled(isOn, m_services.loginItem); !changed) {
        showChecked(*m_launchAtLogin, m_services.loginItem.status() == LoginItemStatus::enabled);
        m_report("Could not change Launch at Login: " + changed.error());
    }
    showApproval();
}

void BehaviorSection::setDryRun(bool isOn) {
    if (const auto stored = m_services.defaults.set("dryRunPreview", isOn); !stored) {
        showChecked(*m_dryRun, SettingsStore::dryRunPreview(m_services.defaults));
        m_report("Could not save the setting: " + stored.error());
    }
}

void BehaviorSection::showApproval() {
    m_approval->setVisible(m_services.loginItem.status() == LoginItemStatus::requiresApproval);
}

} // namespace torvo
