#pragma once

#include "execution/ActionRunner.h"
#include "execution/CommandLog.h"
#include "execution/PreviewRow.h"
#include "execution/RunOutcome.h"
#include "model/Action.h"
#include "model/FinderContext.h"
#include "planning/CommandPlanner.h"
#include "planning/LLMPlanner.h"
#include "platform/ProcessHost.h"
#include "platform/UserDefaults.h"
#include "support/UUID.h"

#include <expected>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace torvo {

/// A command that was understood, with the situation that it was understood in.
struct Plan {
    Action action;
    /// The folder is that of the first file; the selection is all files, in order.
    FinderContext context;
    /// The caller must have the user's permission before executing the plan.
    bool destructive = false;
    /// One line that says what would happen.
    std::string summary;
    /// Identifies this request in the command log.
    UUID logID;
    /// How the text was understood: "intent-preset" or "intent-llm".
    std::string route;
};

/// A plan, or a sentence for the user that says why there is none.
using PlanResult = std::expected<Plan, Failure>;

/// The files that an action would have selected.
struct SelectedFiles {
    std::vector<FileURL> files;
    bool operator==(const SelectedFiles&) const = default;
};

/// What came of executing a plan.
using Outcome = std::variant<SelectedFiles, Completed, Noop, Failure>;

/// The renames that a plan announces, or a sentence that says why they cannot be shown.
using PreviewResult = std::expected<std::vector<PreviewRow>, Failure>;

/// Remembers the last selection instead of making it.
class CapturingSelector final : public Selecting {
  public:
    void select(const std::vector<FileURL>& items) override { m_captured = items; }
    [[nodiscard]] const std::vector<FileURL>& captured() const { return m_captured; }

  private:
    std::vector<FileURL> m_captured;
};

/// Runs a typed command on given files without any window. Never asks: whether a destructive plan may be executed is
/// the caller's decision. Holds no state between calls.
class CommandExecutor {
  public:
    /// What the executor works with; everything must outlive it.
    struct Services {
        UserDefaults& defaults;
        HttpSession& session;
        ProcessHost& processes;
        CommandLog& log;
        RunnerEnvironment environment;
    };
    using LLMPlannerFactory = std::function<LLMPlanner()>;

    /// `makeLLMPlanner`: called once per model request; absent: a planner for the endpoint that is stored at that time.
    CommandExecutor(const CommandPlanner& planner, Services services, LLMPlannerFactory makeLLMPlanner = {});

    /// Understands `command` for `files` by the user's rules, the deterministic planner, or the model, in this order.
    [[nodiscard]] PlanResult plan(std::string_view command, const std::vector<FileURL>& files,
                                  const std::stop_token& stop = {}) const;

    /// Carries a plan out; blocks until it is done. `consent`: whether the user permitted destructive changes; without
    /// it a listing runs confined to reading. A stop ends the work and cleans up.
    Outcome execute(const Plan& plan, Consent consent, const ProgressCallback& progress = {},
                    const std::stop_token& stop = {}) const;

    /// Runs the preview of a plan, confined to reading, and checks its rows. An empty list when the plan has none.
    [[nodiscard]] PreviewResult preview(const Plan& plan, const FileURL& home, const std::stop_token& stop = {}) const;

  private:
    [[nodiscard]] std::expected<Action, std::string> planWithModel(std::string_view text, const FinderContext& context,
                                                                   const UUID& id, const std::stop_token& stop) const;

    const CommandPlanner& m_planner;
    Services m_services;
    LLMPlannerFactory m_makeLLMPlanner;
};

} // namespace torvo
