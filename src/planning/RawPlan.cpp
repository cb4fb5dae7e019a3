#include "planning/RawPlan.h"

#include "model/CommandSafety.h"
#include "support/Json.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

namespace torvo {

namespace {

std::string textMember(const Json& object, const char* key, const std::string& fallback) {
    const Json* value = memberOf(object, key);
    return value != nullptr && value->is_string() ? value->get<std::string>() : fallback;
}

bool booleanMember(const Json& object, const char* key, bool fallback) {
    const Json* value = memberOf(object, key);
    return value != nullptr && value->is_boolean() ? value->get<bool>() : fallback;
}

void removeAll(std::string& text, std::string_view part) {
    std::string kept;
    std::size_t from = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, from)) {
        kept.append(text, from, at - from);
        from = at + part.size();
    }
    text = kept.append(text, from);
}

} // namespace

std::optional<RawPlan> decodeRawPlan(std::string_view json) {
    const auto document = parseJson(json);
    if (!document || !document->is_object())
        return std::nullopt;
    RawPlan plan;
    plan.kind = lowercased(textMember(*document, "kind", plan.kind));
    plan.runnable = booleanMember(*document, "runnable", plan.runnable);
    plan.command = textMember(*document, "command", "");
    plan.explanation = textMember(*document, "explanation", "");
    plan.destructive = booleanMember(*document, "destructive", plan.destructive);
    const auto preview = textMember(*document, "preview", "");
    if (const auto text = trimmed(preview, TextTrim::spacesAndLineBreaks); !text.empty())
        plan.preview = text;
    return plan;
}

std::string extractJSON(std::string_view text) {
    std::string rest(trimmed(text, TextTrim::spacesAndLineBreaks));
    if (rest.find("```") != std::string::npos) {
        removeAll(rest, "```json");
        removeAll(rest, "```");
        rest = trimmed(rest, TextTrim::spacesAndLineBreaks);
    }
    const auto open = rest.find('{');
    const auto close = rest.rfind('}');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return rest;
    return rest.substr(open, close - open + 1);
}

std::expected<Action, LLMPlanError> actionFromContent(std::string_view content) {
    auto plan = decodeRawPlan(extractJSON(content));
    if (!plan)
        return std::unexpected(LLMPlanError{LLMPlanError::Kind::badResponse, ""});
    std::string command(trimmed(plan->command, TextTrim::spacesAndLineBreaks));
    if (command.empty()) {
        return std::unexpected(
            LLMPlanError{LLMPlanError::Kind::unsupported, plan->explanation.empty()
                                                              ? "The local model couldn't turn that into a command."
                                                              : std::move(plan->explanation)});
    }
    // What runs would end at a NUL, which no argument can hold: it would not be what was shown.
    if (command.find('\0') != std::string::npos || (plan->preview && plan->preview->find('\0') != std::string::npos))
        return std::unexpected(LLMPlanError{LLMPlanError::Kind::badResponse, ""});
    const bool isSelection = plan->kind == "select";
    auto explanation = std::move(plan->explanation);
    if (explanation.empty())
        explanation = isSelection ? "Select matching files" : "Run command";
    if (isSelection)
        return SelectByCommand{std::move(command), std::move(explanation)};
    if (plan->preview && !isSafePreviewCommand(*plan->preview))
        plan->preview.reset();
    const bool destructive = plan->destructive || looksDestructive(command);
    return Shell{std::move(command), std::move(explanation), destructive, std::move(plan->preview)};
}

} // namespace torvo
