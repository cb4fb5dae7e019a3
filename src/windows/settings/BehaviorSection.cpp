#include "windows/settings/BehaviorSection.h"

#include "desktop/LaunchAtLoginService.h"
#include "desktop/SettingsStore.h"
#include "widgets/Buttons.h"
#include "widgets/ToneLabel.h"

#include <QCheckBox>
#include <QPointer>

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
    m_failures = m_services.defaults.observeFailures([this](const std::string& key, const std::string& error) {
        if (key == SettingsStore::kDryRunPreview)
            dryRunNotStored(error);
    });
    appear();
}

void BehaviorSection::appear() {
    const auto status = m_services.loginItem.status();
    showChecked(*m_launchAtLogin, status == LoginItemStatus::enabled);
    showApproval(status);
    showChecked(*m_dryRun, SettingsStore::dryRunPreview(m_services.defaults));
}

void BehaviorSection::setLaunchAtLogin(bool isOn) {
    m_services.diskQueue.async([services = m_services, section = QPointer(this), isOn] {
        const auto changed = LaunchAtLoginService::setEnabled(isOn, services.loginItem);
        services.dispatcher.runOnMain([section, changed, status = services.loginItem.status()] {
            if (section == nullptr)
                return;
            section->showApproval(status);
            if (changed)
                return;
            showChecked(*section->m_launchAtLogin, status == LoginItemStatus::enabled);
            section->m_report("Could not change Launch at Login: " + changed.error());
        });
    });
}

void BehaviorSection::showApproval(LoginItemStatus status) {
    m_approval->setVisible(status == LoginItemStatus::requiresApproval);
}

void BehaviorSection::setDryRun(bool isOn) {
    if (const auto stored = m_services.defaults.set(SettingsStore::kDryRunPreview, isOn); !stored)
        dryRunNotStored(stored.error());
}

void BehaviorSection::dryRunNotStored(const std::string& error) {
    showChecked(*m_dryRun, SettingsStore::dryRunPreview(m_services.defaults));
    m_report(error);
}

} // namespace torvo
