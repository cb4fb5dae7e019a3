#pragma once

#include "planning/LLMEndpoint.h"
#include "platform/HttpSession.h"
#include "support/Observable.h"
#include "widgets/SectionBox.h"
#include "widgets/Theme.h"
#include "windows/settings/SettingsServices.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>
#include <vector>

class QLineEdit;
class QPushButton;

namespace torvo {

class StatusCaption;

/// What a test of the endpoint came to: the models that it offers, or why it failed.
using AdvertisedModels = std::expected<std::vector<std::string>, HttpError>;

/// "Connected · 2 models", and its like.
[[nodiscard]] std::string endpointStatus(const AdvertisedModels& models);
/// The colour of that line.
[[nodiscard]] Tone endpointTone(std::string_view status);

/// Where the language model lives, and whether it answers.
class EndpointSection final : public SectionBox {
  public:
    /// `changed`: the endpoint was stored.
    EndpointSection(const SettingsServices& services, std::function<void()> changed);
    /// Ends the test that is under way.
    ~EndpointSection() override;
    EndpointSection(const EndpointSection&) = delete;
    EndpointSection& operator=(const EndpointSection&) = delete;

  private:
    [[nodiscard]] QLineEdit* addField(const char* title, std::string LLMEndpoint::* text);
    /// Shows the stored endpoint.
    void reload();
    void store();
    void notStored(const std::string& error);
    void test();
    void tested(const AdvertisedModels& models);
    /// Of the address that the fields show.
    [[nodiscard]] std::string address() const;
    void say(const std::string& status);
    void updateTest();

    SettingsServices m_services;
    std::function<void()> m_changed;
    /// The fields' texts, byte for byte where they were not edited.
    LLMEndpoint m_endpoint;
    /// The address that is being tested.
    std::optional<std::string> m_tested;
    QLineEdit* m_baseURL;
    QLineEdit* m_model;
    QPushButton* m_test;
    StatusCaption* m_status;
    /// Ends the test that is under way.
    std::stop_source m_request;
    /// Expires with the section.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    Subscription m_subscription;
    Subscription m_failures;
};

} // namespace torvo
