#include "windows/settings/EndpointSection.h"

#include "planning/LLMPlanner.h"
#include "support/Text.h"
#include "widgets/Buttons.h"
#include "widgets/FormField.h"
#include "widgets/ShownText.h"
#include "widgets/ToneLabel.h"

#include <QLabel>
#include <QLineEdit>

namespace torvo {

namespace {

constexpr int kTitleWidth = 76;
constexpr const char* kConnected = "Connected";

bool isBlank(std::string_view text) {
    return trimmed(text, TextTrim::spacesAndLineBreaks).empty();
}

/// Does not disturb a field that shows the text already, and tells nobody.
void setShownText(QLineEdit& field, const std::string& text) {
    const QSignalBlocker quiet(field);
    if (const auto shown = QString::fromStdString(text); field.text() != shown)
        field.setText(shown);
}

} // namespace

std::string endpointStatus(const AdvertisedModels& models) {
    if (!models)
        return "Failed: " + models.error().description;
    if (models->empty())
        return std::string(kConnected) + ", but no models advertised.";
    return std::string(kConnected) + " · " + counted(models->size(), "model");
}

Tone endpointTone(std::string_view status) {
    return status.starts_with(kConnected) ? Tone::success : Tone::failure;
}

EndpointSection::EndpointSection(const SettingsServices& services, std::function<void()> changed)
    : SectionBox("Advanced · OpenAI-compatible endpoint"), m_services(services), m_changed(std::move(changed)) {
    m_baseURL = addField("Base URL", &LLMEndpoint::baseURL);
    m_model = addField("Model", &LLMEndpoint::model);
    rows().addWidget(new CaptionLabel("Any OpenAI-compatible local server. If Model is blank, Test Connection fills in "
                                      "the first advertised model. Requests go only to the endpoint shown here."));
    auto& row = addRow();
    m_test = makeButton("Test Connection");
    connect(m_test, &QPushButton::clicked, this, [this] { test(); });
    row.addWidget(m_test);
    m_status = new StatusCaption;
    row.addWidget(m_status, 1);
    row.addStretch();
    m_subscription = m_services.modelSetup.observe([this] { reload(); });
    m_failures = m_services.defaults.observeFailures([this](const std::string& key, const std::string& error) {
        if (key == LLMEndpoint::kBaseURLKey || key == LLMEndpoint::kModelKey)
            notStored(error);
    });
    reload();
}

EndpointSection::~EndpointSection() {
    m_request.request_stop();
}

QLineEdit* EndpointSection::addField(const char* title, std::string LLMEndpoint::* text) {
    auto& row = addRow();
    auto* label = new ToneLabel(QString::fromUtf8(title));
    label->setFixedWidth(kTitleWidth);
    row.addWidget(label);
    auto* field = new FormField;
    field->setAccessibleName(QString::fromUtf8(title));
    label->setBuddy(field);
    // However it changes: assistive technology sets a text without editing it.
    connect(field, &QLineEdit::textChanged, this, [this, text](const QString& typed) {
        m_endpoint.*text = typed.toStdString();
        store();
    });
    row.addWidget(field, 1);
    return field;
}

void EndpointSection::reload() {
    m_endpoint = LLMEndpoint::current(m_services.defaults);
    setShownText(*m_baseURL, m_endpoint.baseURL);
    setShownText(*m_model, m_endpoint.model);
    updateTest();
}

void EndpointSection::store() {
    if (const auto stored = LLMEndpoint::setCurrent(m_endpoint, m_services.defaults); !stored)
        notStored(stored.error());
    updateTest();
    m_changed();
}

void EndpointSection::notStored(const std::string& error) {
    say(error);
}

std::string EndpointSection::address() const {
    return std::string(trimmed(m_endpoint.baseURL, TextTrim::spacesAndLineBreaks));
}

void EndpointSection::updateTest() {
    // What comes of a test says nothing about another address.
    if (m_tested && m_tested != address()) {
        m_request.request_stop();
        m_tested.reset();
    }
    m_test->setEnabled(!m_tested && !address().empty());
}

void EndpointSection::say(const std::string& status) {
    m_status->say(status, endpointTone(status));
}

void EndpointSection::test() {
    m_tested = address();
    m_request = {};
    updateTest();
    say("");
    m_services.dispatcher.runDetached([this, alive = std::weak_ptr(m_alive), stop = m_request.get_token(),
                                       &dispatcher = m_services.dispatcher, &session = m_services.session,
                                       baseURL = *m_tested] {
        auto models = availableModels(baseURL, session, stop);
        dispatcher.runOnMain([this, alive, stop, models = std::move(models)] {
            if (!alive.expired() && !stop.stop_requested())
                tested(models);
        });
    });
}

void EndpointSection::tested(const AdvertisedModels& models) {
    m_tested.reset();
    updateTest();
    say(endpointStatus(models));
    if (models && !models->empty() && isBlank(m_endpoint.model)) {
        m_endpoint.model = models->front();
        setShownText(*m_model, m_endpoint.model);
        store();
    }
}

} // namespace torvo
