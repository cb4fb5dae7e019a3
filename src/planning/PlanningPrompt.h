#pragma once

#include "model/FinderContext.h"

#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// What the model is told. Only the extensions of the selected files reach it, never their names.
namespace PlanningPrompt {

/// The system message for one request. `tools`: the commands to advertise, normally `availableTools()`.
[[nodiscard]] std::string systemPrompt(const FinderContext& context, const std::vector<std::string>& tools);

/// The sentence that tells how many files are selected and of which kinds.
[[nodiscard]] std::string selectionText(const std::vector<FileURL>& selection);

/// The user message that asks for a correction of a command which failed.
[[nodiscard]] std::string repairRequest(std::string_view lastInput, std::string_view lastError);

/// The commands to advertise: "sips" and "zip", and of the optional tools those that are installed. Probed afresh.
[[nodiscard]] std::vector<std::string> availableTools();

/// Whether one of the four standard folders holds an executable of that name. The search path is not consulted.
[[nodiscard]] bool toolExists(std::string_view name);

} // namespace PlanningPrompt

} // namespace torvo
