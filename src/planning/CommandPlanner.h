#pragma once

#include "planning/PresetEngine.h"

#include <optional>
#include <string_view>

namespace torvo {

/// A deterministic planner: typed text in, an action out, or nothing when it does not understand.
class CommandPlanner {
  public:
    virtual ~CommandPlanner() = default;

    [[nodiscard]] virtual std::optional<Action> plan(std::string_view text) const = 0;
};

/// Plans with the preset grammar.
class PresetPlanner final : public CommandPlanner {
  public:
    [[nodiscard]] std::optional<Action> plan(std::string_view text) const override { return PresetEngine::match(text); }
};

} // namespace torvo
