#include "planning/CommandExecutor.h"

#include "execution/RenamePreview.h"
#include "model/CommandSafety.h"
#include "planning/PlanningPrompt.h"
#include "planning/RulesStore.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <utility>

namespace torvo {

namespace {

/// The sentence for a failed model request.
std::string sentence(const LLMPlanError& error) {
    switch (error.kind) {
    case LLMPlanError::Kind::unsupported:
        return error.text;
    case LLMPlanError::Kind::network:
        return fmt::format("Couldn't reach the local model ({}).", error.text);
    case LLMPlanError::Kind::badResponse:
        break;
    }
    return "The local model returned an unexpected response.";
}

} // namespace

CommandExecutor::CommandExecutor(const CommandPlanner& planner, Services services, LLMPlannerFactory makeLLMPlanner)
    : m_planner(planner), m_services(std::move(services)), m_makeLLMPlanner(std::move(makeLLMPlanner)) {
    if (!m_makeLLMPlanner) {
        m_makeLLMPlanner = [defaults = &m_services.defaults, session = &m_services.session, log = &m_services.log] {
            return LLMPlanner{LLMEndpoint::current(*defaults), session, log, std::nullopt};
        };
    }
}

PlanResult CommandExecutor::plan(std::string_view command, const std::vector<FileURL>& files,
                                 const std::stop_token& stop) const {
    const auto typed = trimmed(command, TextTrim::spaces);
    if (typed.empty())
        return std::unexpected(Failure{"The command was empty."});
    if (files.empty()) {
        return std::unexpected(
            Failure{"No files were provided. Pass files to act on, or select some in Finder first."});
    }
    Plan plan;
    plan.context = {files.front().deletingLastPathComponent(), files};
    const auto text = RulesStore(m_services.defaults).expansion(typed).value_or(std::string(typed));
    plan.logID = UUID::random();
    if (auto preset = m_planner.plan(text)) {
        plan.action = std::move(*preset);
        plan.route = "intent-preset";
        m_services.log.plan(plan.logID, plan.route, text, plan.context, {{"action", describe(plan.action)}});
    } else {
        auto action = planWithModel(text, plan.context, plan.logID, stop);
        if (!action)
            return std::unexpected(Failure{std::move(action.error())});
        plan.action = std::move(*action);
        plan.route = "intent-llm";
    }
    plan.destructive = needsPermission(plan.action);
    CapturingSelector unused;
    plan.summary =
        ActionRunner(unused, m_services.processes, m_services.environment).summary(plan.action, plan.context);
    return plan;
}

std::expected<Action, std::string> CommandExecutor::planWithModel(std::string_view text, const FinderContext& context,
                                                                  const UUID& id, const std::stop_token& stop) const {
    auto planner = m_makeLLMPlanner();
    planner.logID = id;
    Json extra{{"endpoint", planner.endpoint.baseURL}, {"model", planner.endpoint.model}};
    if (const auto tools = PlanningPrompt::availableTools(); !tools.empty())
        extra["tools"] = tools;
    m_services.log.plan(id, "intent-llm", text, context, std::move(extra));
    auto action = planner.plan(text, context, stop);
    if (action)
        return std::move(*action);
    auto message = sentence(action.error());
    m_services.log.outcome(id, "plan-failed", message);
    return std::unexpected(std::move(message));
}

Outcome CommandExecutor::execute(const Plan& plan, Consent consent, const ProgressCallback& progress,
                                 const std::stop_token& stop) const {
    CapturingSelector selector;
    ActionRunner runner(selector, m_services.processes, m_services.environment);
    const auto outcome = runner.execute(plan.action, plan.context, progress, consent, stop);
    const auto log = [&](std::string_view event, std::string_view detail) {
        m_services.log.outcome(plan.logID, event, detail);
    };
    return std::visit(Overloaded{
                          [&](const SelectedCount&) -> Outcome {
                              log("selected", std::to_string(selector.captured().size()));
                              return SelectedFiles{selector.captured()};
                          },
                          [&](const Completed& completed) -> Outcome {
                              log("completed", completed.message);
                              return completed;
                          },
                          [&](const NeedsConfirmation& needed) -> Outcome {
                              return Failure{fmt::format("This command needs confirmation: {}", needed.prompt)};
                          },
                          [&](const Noop& noop) -> Outcome {
                              log("noop", noop.message);
                              return noop;
                          },
                          [&](const Failure& failure) -> Outcome {
                              log("failed", failure.message);
                              return failure;
                          },
                      },
                      outcome);
}

PreviewResult CommandExecutor::preview(const Plan& plan, const FileURL& home, const std::stop_token& stop) const {
    const auto* shell = std::get_if<Shell>(&plan.action);
    if (shell == nullptr || !shell->preview)
        return {};
    CapturingSelector unused;
    ActionRunner runner(unused, m_services.processes, m_services.environment);
    auto rows = renamePreview(runner, *shell->preview, plan.context, home, stop);
    if (!rows)
        return std::unexpected(Failure{std::move(rows.error().message)});
    return std::move(*rows);
}

} // namespace torvo
