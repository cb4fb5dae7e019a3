#include "windows/settings/PermissionsSection.h"

#include "desktop/AccessibilityService.h"
#include "widgets/Buttons.h"
#include "widgets/ToneLabel.h"

namespace torvo {

PermissionsSection::PermissionsSection(const SettingsServices& services)
    : SectionBox("Permissions"), m_services(services) {
    auto& row = addRow();
    const auto addButton = [&](const char* title, std::function<void()> open) {
        auto* button = makeButton(QString::fromUtf8(title));
        connect(button, &QPushButton::clicked, this, std::move(open));
        row.addWidget(button);
    };
    const auto pane = [this](std::string_view anchor) {
        return [this, anchor] { AccessibilityService::open(anchor, m_services.workspace); };
    };
    addButton("Accessibility…", pane(AccessibilityService::kAccessibilityAnchor));
    addButton("Automation…", pane(AccessibilityService::kAutomationAnchor));
    addButton("Full Disk Access…", pane(AccessibilityService::kFullDiskAnchor));
    addButton("Finder Extension…", [this] { AccessibilityService::openFinderExtensionsPane(m_services.workspace); });
    row.addStretch();
    rows().addWidget(
        new CaptionLabel("Torvo reads the front Finder window (Accessibility), selects files (Automation), and acts on "
                         "files in protected folders like Desktop/Documents/Downloads (Full Disk Access). Enable the "
                         "Finder extension to get a right-click “Torvo” action."));
}

} // namespace torvo
