#include "planning/LLMPlanner.h"

#include "planning/PlanningPrompt.h"
#include "support/Json.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <utility>

namespace torvo {

namespace {

using Kind = LLMPlanError::Kind;
using PlanOrError = std::expected<Action, LLMPlanError>;

constexpr std::chrono::seconds kChatSilence{60};

enum class Thinking { off, on };

/// The chat request. With thinking off the answer is short; with thinking on it needs room for the thoughts.
Json requestBody(const std::string& model, std::string_view prompt, std::string_view input, Thinking thinking) {
    Json body{
        {"model", model},
        {"stream", false},
        {"temperature", 0.1},
        {"max_tokens", thinking == Thinking::off ? 2048 : 8192},
        {"response_format", {{"type", "json_object"}}},
        {"messages", Json::array({{{"role", "system"}, {"content", prompt}}, {{"role", "user"}, {"content", input}}})},
    };
    if (thinking == Thinking::off)
        body["chat_template_kwargs"] = {{"enable_thinking", false}};
    return body;
}

/// The text of the first choice; absent when the reply has another shape.
std::optional<std::string> contentOf(std::string_view reply) {
    const auto document = parseJson(reply);
    if (!document)
        return std::nullopt;
    const Json* choices = memberOf(*document, "choices");
    if (choices == nullptr || !choices->is_array() || choices->empty())
        return std::nullopt;
    for (const Json& choice : *choices) {
        if (!choice.is_object())
            return std::nullopt;
    }
    const Json* message = memberOf(choices->front(), "message");
    const Json* content = message == nullptr ? nullptr : memberOf(*message, "content");
    if (content == nullptr || !content->is_string())
        return std::nullopt;
    return content->get<std::string>();
}

LLMPlanError planError(const HttpError& error) {
    switch (error.code) {
    case HttpErrorCode::badURL:
    case HttpErrorCode::unsupportedURL:
        return {Kind::network, "Invalid endpoint URL"};
    case HttpErrorCode::badServerResponse:
        return {Kind::badResponse, ""};
    default:
        return {Kind::network, error.description};
    }
}

bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

PlanOrError send(const LLMPlanner& planner, const Json& body, const std::stop_token& stop) {
    const HttpRequest request{.method = HttpMethod::post,
                              .url = planner.endpoint.address("/v1/chat/completions"),
                              .headers = {{"Content-Type", "application/json"}},
                              .body = compactJson(body),
                              .silence = kChatSilence};
    const auto reply = planner.session->perform(request, stop);
    if (!reply)
        return std::unexpected(planError(reply.error()));
    if (!isSuccess(reply->status))
        return std::unexpected(LLMPlanError{Kind::network, fmt::format("HTTP {}", reply->status)});
    const auto content = contentOf(reply->body);
    if (!content)
        return std::unexpected(LLMPlanError{Kind::badResponse, ""});
    if (planner.log != nullptr && planner.logID)
        planner.log->response(*planner.logID, *content);
    return actionFromContent(*content);
}

} // namespace

std::expected<Action, LLMPlanError> LLMPlanner::plan(std::string_view input, const FinderContext& context,
                                                     const std::stop_token& stop) const {
    if (!endpoint.isConfigured()) {
        return std::unexpected(
            LLMPlanError{Kind::unsupported, "Set up a local LLM endpoint and model in Torvo Settings first."});
    }
    const auto prompt = PlanningPrompt::systemPrompt(context, PlanningPrompt::availableTools());
    auto planned = send(*this, requestBody(endpoint.model, prompt, input, Thinking::off), stop);
    if (!planned && planned.error() == LLMPlanError{Kind::network, "HTTP 400"})
        planned = send(*this, requestBody(endpoint.model, prompt, input, Thinking::on), stop);
    return planned;
}

std::expected<std::vector<std::string>, HttpError> availableModels(const std::string& baseURL, HttpSession& session,
                                                                   const std::stop_token& stop) {
    const LLMEndpoint endpoint{.baseURL = baseURL, .model = ""};
    const auto reply = session.perform({.url = endpoint.address("/v1/models")}, stop);
    if (!reply)
        return std::unexpected(reply.error());
    if (!isSuccess(reply->status))
        return std::unexpected(httpError(HttpErrorCode::badServerResponse));
    const auto document = parseJson(reply->body);
    const Json* data = document ? memberOf(*document, "data") : nullptr;
    if (data == nullptr || !data->is_array())
        return std::unexpected(httpError(HttpErrorCode::cannotParseResponse));
    std::vector<std::string> names;
    for (const Json& model : *data) {
        if (!model.is_object())
            return std::unexpected(httpError(HttpErrorCode::cannotParseResponse));
        if (const Json* id = memberOf(model, "id"); id != nullptr && id->is_string())
            names.push_back(id->get<std::string>());
    }
    return names;
}

} // namespace torvo
