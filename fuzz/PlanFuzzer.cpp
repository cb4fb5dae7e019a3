// Whatever a model answers becomes a judged action or an error, and actions survive their JSON form.
#include "Require.h"
#include "model/CommandSafety.h"
#include "planning/RawPlan.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

using namespace torvo;
using namespace torvo::fuzz;

namespace {

void requireRoundTrip(const Action& action) {
    const auto decoded = decodeActionText(compactJson(encode(action)));
    require(decoded && *decoded == action, "an action is what its JSON form decodes to");
}

bool isTrimmedAndFilled(std::string_view text) {
    return !text.empty() && trimmed(text, TextTrim::spacesAndLineBreaks) == text;
}

void requireJudged(const Action& action) {
    if (const auto* select = std::get_if<SelectByCommand>(&action)) {
        require(isTrimmedAndFilled(select->command), "a listing has a trimmed command");
        require(!select->explanation.empty(), "a listing is explained");
        return;
    }
    const auto* shell = std::get_if<Shell>(&action);
    require(shell != nullptr, "a model's action is a command or a listing");
    require(isTrimmedAndFilled(shell->command), "a command is trimmed");
    require(!shell->explanation.empty(), "a command is explained");
    require(shell->destructive || !looksDestructive(shell->command), "the model cannot lower the destructive flag");
    require(!shell->preview || isSafePreviewCommand(*shell->preview), "a preview does nothing but print");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = textOf(data, size);
    const auto json = extractJSON(text);
    require(json.size() <= text.size(), "extracting adds nothing");
    const auto action = actionFromContent(text);
    if (action) {
        requireJudged(*action);
        requireRoundTrip(*action);
    } else {
        const bool isUnread = action.error().kind == LLMPlanError::Kind::badResponse;
        require(isUnread == !decodeRawPlan(json).has_value(), "only what is no object is a bad response");
        require(isUnread == action.error().text.empty(), "a refusal has a text");
    }
    if (const auto decoded = decodeActionText(text))
        requireRoundTrip(*decoded);
    return 0;
}
