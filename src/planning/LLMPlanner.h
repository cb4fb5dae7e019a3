#pragma once

#include "execution/CommandLog.h"
#include "model/Action.h"
#include "model/FinderContext.h"
#include "planning/LLMEndpoint.h"
#include "planning/RawPlan.h"
#include "platform/HttpSession.h"
#include "support/UUID.h"

#include <expected>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// Asks a language model for one command. A plain value: made for one request and thrown away.
struct LLMPlanner {
    LLMEndpoint endpoint;
    /// The client for the requests; must outlive the planner.
    HttpSession* session = nullptr;
    /// Where the model's raw reply is recorded under `logID`, when both are set.
    CommandLog* log = nullptr;
    std::optional<UUID> logID;

    /// Asks the model what `input` means for the files of `context`. Blocks until it answers, fails or `stop` asks to
    /// end. One request; a second one, without the switch that turns thinking off, only after HTTP status 400.
    [[nodiscard]] std::expected<Action, LLMPlanError> plan(std::string_view input, const FinderContext& context,
                                                           const std::stop_token& stop = {}) const;
};

/// The names of the models that the server at `baseURL` offers, in its order; entries without a name are skipped.
[[nodiscard]] std::expected<std::vector<std::string>, HttpError>
availableModels(const std::string& baseURL, HttpSession& session, const std::stop_token& stop = {});

} // namespace torvo
