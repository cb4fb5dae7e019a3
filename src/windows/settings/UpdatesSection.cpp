#include "windows/settings/UpdatesSection.h"

#include "widgets/Buttons.h"
#include "widgets/ShownText.h"
#include "widgets/ToneLabel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QWheelEvent>

namespace torvo {

namespace {

constexpr int kKeyWidth = 130;
constexpr int kModifierWidth = 36;

struct Modifier {
    const char* label;
    const char* spokenName;
    bool HotKeyConfiguration::* flag;
};

constexpr Modifier kModifiers[]{{"⌘", "Command", &HotKeyConfiguration::command},
                                {"⇧", "Shift", &HotKeyConfiguration::shift},
                                {"⌥", "Option", &HotKeyConfiguration::option},
                                {"⌃", "Control", &HotKeyConfiguration::control}};

/// A list of choices that leaves the wheel to the form that it scrolls with.
class KeyPicker final : public QComboBox {
  protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

} // namespace

UpdatesSection::UpdatesSection(const SettingsServices& services)
    : SectionBox("Updates & global shortcut"), m_services(services), m_draft(services.hotKey.configuration()) {
    auto& updates = addRow();
    m_automatic = new QCheckBox("Automatically check for updates");
    connect(m_automatic, &QCheckBox::toggled, this,
            [this](bool isOn) { m_services.updates.setAutomaticallyChecksForUpdates(isOn); });
    updates.addWidget(m_automatic, 1);
    auto* check = makeButton("Check for Updates…");
    connect(check, &QPushButton::clicked, this, [this] { m_services.updates.checkForUpdates(); });
    updates.addWidget(check);

    addShortcutEditor();
    m_status = new StatusCaption;
    rows().addWidget(m_status);
    m_subscription = m_services.hotKey.observe([this] { showStatus(); });
    showStatus();
    showDraft();
}

void UpdatesSection::addShortcutEditor() {
    auto& row = addRow();
    for (const auto& [label, spokenName, flag] : kModifiers) {
        auto* button = new AccentButton(label, AccentButton::Filled::whileChecked);
        button->setFixedWidth(kModifierWidth);
        button->setToolTip(spokenName);
        button->setAccessibleDescription(spokenName);
        connect(button, &QPushButton::toggled, this, [this, flag = flag](bool isOn) { m_draft.*flag = isOn; });
        m_modifiers.emplace_back(button, flag);
        row.addWidget(button);
    }
    auto* title = new ToneLabel("Key");
    title->setMaximumLines(1);
    row.addSpacing(row.spacing());
    row.addWidget(title);
    m_key = new KeyPicker;
    m_key->setAccessibleName("Key");
    // Qt on X11 tells assistive technology the choice in place of that name: the label says what it is for.
    title->setBuddy(m_key);
    m_key->setFixedWidth(kKeyWidth);
    m_key->setMaxVisibleItems(27);
    m_key->addItem("Space", "space");
    for (char letter = 'a'; letter <= 'z'; ++letter)
        m_key->addItem(QString(QLatin1Char(letter)).toUpper(), QString(QLatin1Char(letter)));
    connect(m_key, &QComboBox::activated, this,
            [this] { m_draft.key = m_key->currentData().toString().toStdString(); });
    row.addWidget(m_key);
    row.addStretch();
    auto* apply = makeButton("Apply");
    connect(apply, &QPushButton::clicked, this, [this] { (void)m_services.hotKey.update(m_draft); });
    row.addWidget(apply);
}

void UpdatesSection::appear() {
    showChecked(*m_automatic, m_services.updates.automaticallyChecksForUpdates());
    m_draft = m_services.hotKey.configuration();
    showDraft();
}

void UpdatesSection::showDraft() {
    for (const auto& [button, flag] : m_modifiers)
        button->setChecked(m_draft.*flag);
    m_key->setCurrentIndex(std::max(0, m_key->findData(shownParagraph(m_draft.key))));
}

void UpdatesSection::showStatus() {
    m_status->say(m_services.hotKey.statusMessage(), m_services.hotKey.hasError() ? Tone::failure : Tone::success);
}

} // namespace torvo
