#include "tests/probe/Operations.h"

#include "execution/ActionRunner.h"
#include "execution/CommandLog.h"
#include "execution/ErrorLine.h"
#include "execution/FailureLog.h"
#include "execution/HistoryStore.h"
#include "execution/PreviewRow.h"
#include "execution/ProcessRunner.h"
#include "linux/LinuxProcessHost.h"
#include "model/CommandSafety.h"
#include "model/ShellText.h"
#include "planning/PlanningPrompt.h"
#include "planning/PresetEngine.h"
#include "planning/RawPlan.h"
#include "planning/RulesStore.h"
#include "support/Overloaded.h"
#include "tests/probe/Values.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string_view>

namespace torvo::probe {

namespace {

Json outcome(const std::optional<RunOutcome>& result) {
    if (!result)
        return {};
    return std::visit(Overloaded{
                          [](const SelectedCount& selected) { return Json{{"selected", selected.count}}; },
                          [](const Completed& completed) { return Json{{"completed", completed.message}}; },
                          [](const NeedsConfirmation& needed) { return Json{{"needsConfirmation", needed.prompt}}; },
                          [](const Noop& noop) { return Json{{"noop", noop.message}}; },
                          [](const Failure& failure) { return Json{{"failure", failure.message}}; },
                      },
                      *result);
}

class NoSelector final : public Selecting {
  public:
    void select(const std::vector<FileURL>& /*items*/) override {}
};

Json summary(const Json& in) {
    NoSelector selector;
    LinuxProcessHost host;
    const ActionRunner runner(selector, host, {}, [&](const FileURL&) { return files(in.at("items")); });
    return runner.summary(action(in.at("action")), context(in.at("context")));
}

Json decoded(const Json& in) {
    const auto result = decodeActionText(text(in, "json"));
    if (result)
        return {{"ok", encode(*result)}};
    // Only one failure has a text that is part of the format.
    const bool isNamed = result.error().kind == ActionDecodingError::Kind::invalidKeyCount;
    return {{"error", true}, {"description", isNamed ? Json(result.error().description) : Json()}};
}

Json planned(const Json& in) {
    const auto result = actionFromContent(text(in, "content"));
    if (result)
        return {{"action", encode(*result)}};
    if (result.error().kind == LLMPlanError::Kind::unsupported)
        return {{"unsupported", result.error().text}};
    return {{"badResponse", true}};
}

Json expansion(const Json& in) {
    return orNull(expansionFor(text(in, "input"), rules(in)));
}

Json previewRows(const Json& in) {
    Json rows = Json::array();
    for (const auto& row : parsePreview(text(in, "output")))
        rows.push_back({{"from", row.from}, {"to", orNull(row.to)}});
    return rows;
}

Json previewVerdict(const Json& in) {
    std::vector<PreviewRow> rows;
    for (const Json& row : in.at("rows"))
        rows.push_back({text(row, "from"), optionalText(row, "to")});
    const auto exists = fileSystem(in);
    return orNull(previewValidationError(rows, files(in.at("selection")), {exists, exists}));
}

OperationTable commandOperations() {
    return {
        {"preset.match", [](const Json& in) { return orNull(PresetEngine::match(text(in, "text"))); }},
        {"preset.normalize", [](const Json& in) { return Json(PresetEngine::normalize(text(in, "text"))); }},
        {"preset.extensionsForToken",
         [](const Json& in) { return orNull(PresetEngine::extensionsForToken(text(in, "token"))); }},
        {"rules.expansion", expansion},
        {"action.decode", decoded},
        {"action.equal", [](const Json& in) { return Json(action(in.at("a")) == action(in.at("b"))); }},
        {"llm.extractJSON", [](const Json& in) { return Json(extractJSON(text(in, "text"))); }},
        {"llm.actionFromContent", planned},
        {"prompt.system",
         [](const Json& in) {
             return Json(PlanningPrompt::systemPrompt(context(in), in.at("tools").get<std::vector<std::string>>()));
         }},
        {"prompt.selectionText",
         [](const Json& in) { return Json(PlanningPrompt::selectionText(files(in.at("selection")))); }},
        {"prompt.repairRequest",
         [](const Json& in) {
             return Json(PlanningPrompt::repairRequest(text(in, "lastInput"), text(in, "lastError")));
         }},
        {"safety.looksDestructive",
         [](const Json& in) {
             return Json(looksDestructive(text(in, "command"), in.at("allowingSafeCommandSubstitutions").get<bool>()
                                                                   ? SafeSubstitutions::allowed
                                                                   : SafeSubstitutions::rejected));
         }},
        {"safety.isProvablyReadOnlySelectionCommand",
         [](const Json& in) { return Json(isProvablyReadOnlySelectionCommand(text(in, "command"))); }},
        {"safety.isSafePreviewCommand", [](const Json& in) { return Json(isSafePreviewCommand(text(in, "command"))); }},
        {"safety.commandSubstitutionsAreSafe",
         [](const Json& in) { return Json(commandSubstitutionsAreSafe(text(in, "command"))); }},
        {"safety.shellLikeWords",
         [](const Json& in) {
             const auto words = text(in, "text");
             return Json(shellLikeWords(words));
         }},
        {"safety.strippingQuotedContent",
         [](const Json& in) { return Json(strippingQuotedContent(text(in, "text"))); }},
        {"runner.gate",
         [](const Json& in) {
             return outcome(gate(action(in.at("action")), context(in.at("context")),
                                 in.at("confirmed").get<bool>() ? Consent::given : Consent::none, true));
         }},
        {"runner.summary", summary},
        {"runner.resolveSelection",
         [](const Json& in) {
             const auto spec = decodeSelectionSpec(in.at("spec"));
             if (!spec)
                 throw std::runtime_error(spec.error().description);
             return Json(pathsOf(resolveSelection(*spec, files(in.at("items")))));
         }},
        {"runner.resolvePaths",
         [](const Json& in) {
             return Json(pathsOf(resolvePaths(text(in, "output"), FileURL(text(in, "folder")), fileSystem(in))));
         }},
        {"process.errorLine",
         [](const Json& in) {
             return Json(errorLine(text(in, "stdout"), text(in, "stderr"), in.at("status").get<std::int32_t>()));
         }},
        {"process.failureRecord",
         [](const Json& in) {
             const auto command = text(in, "command");
             const auto output = text(in, "stdout");
             const auto error = text(in, "stderr");
             return Json(failureRecord({command, in.at("status").get<std::int32_t>(), output, error}));
         }},
        {"process.childPath", [](const Json& in) { return Json(childPath(optionalText(in, "path"))); }},
        {"preview.parse", previewRows},
        {"preview.validate", previewVerdict},
        {"log.describe", [](const Json& in) { return describe(action(in.at("action"))); }},
        {"history.record",
         [](const Json& in) {
             return Json(recorded(in.at("items").get<std::vector<std::string>>(), text(in, "text")));
         }},
    };
}

const OperationTable& operations() {
    static const OperationTable all = [] {
        OperationTable merged = commandOperations();
        for (auto more : {barOperations(), desktopOperations(), recordOperations()})
            merged.merge(more);
        return merged;
    }();
    return all;
}

} // namespace

Json answer(const std::string& line) {
    const auto request = parseJson(line);
    if (!request)
        return {{"error", "cannot read the line: " + request.error()}};
    const Json* name = memberOf(*request, "op");
    if (name == nullptr || !name->is_string())
        return {{"error", "a line is an object with the text \"op\" and the object \"in\""}};
    const auto operation = operations().find(name->get_ref<const std::string&>());
    if (operation == operations().end())
        return {{"error", "unknown op"}};
    try {
        const Json* in = memberOf(*request, "in");
        return {{"out", operation->second(in == nullptr ? Json::object() : *in)}};
    } catch (const std::exception& error) {
        return {{"error", error.what()}};
    }
}

} // namespace torvo::probe
