#include "windows/SettingsView.h"

#include "widgets/SectionBox.h"
#include "widgets/TabOrder.h"
#include "windows/settings/BehaviorSection.h"
#include "windows/settings/EndpointSection.h"
#include "windows/settings/ModelSection.h"
#include "windows/settings/PermissionsSection.h"
#include "windows/settings/PrivacySection.h"
#include "windows/settings/RulesSection.h"
#include "windows/settings/ToolsSection.h"
#include "windows/settings/UpdatesSection.h"

#include <QShowEvent>

namespace torvo {

namespace {

constexpr int kPadding = 20;
constexpr int kSectionSpacing = 18;

} // namespace

SettingsView::SettingsView(const SettingsServices& services) : m_services(services) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins({});
    auto* form = new ScrollColumn(kSectionSpacing, {kPadding, kPadding, kPadding, kPadding});
    outer->addWidget(form);
    auto& column = form->column();

    m_updates = new UpdatesSection(m_services);
    m_behavior = new BehaviorSection(m_services, [this](const std::string& line) { m_privacy->say(line); });
    m_rules = new RulesSection(m_services);
    auto* model = new ModelSection(m_services);
    auto* endpoint = new EndpointSection(m_services, [model] { model->showState(); });
    m_privacy = new PrivacySection(m_services);
    for (QWidget* section :
         std::initializer_list<QWidget*>{m_updates, m_behavior, m_rules, model, endpoint, new ToolsSection(m_services),
                                         m_privacy, new PermissionsSection(m_services)})
        column.addWidget(section);
    column.addStretch();
    orderTabs(*this);
}

void SettingsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    m_updates->appear();
    m_behavior->appear();
    m_rules->appear();
    m_privacy->appear();
    m_services.modelSetup.refresh();
    m_services.environment.refresh();
}

} // namespace torvo
