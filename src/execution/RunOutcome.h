#pragma once

#include "support/FileURL.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace torvo {

/// What is happening now. The counts are absent for work that is not counted.
struct OperationProgress {
    std::string label;
    std::optional<std::size_t> completed;
    std::optional<std::size_t> total;

    bool operator==(const OperationProgress&) const = default;
};

/// Takes the reports of a running action, on the thread that runs it. May be empty.
using ProgressCallback = std::function<void(const OperationProgress&)>;

/// A selection was made; how many items it holds.
struct SelectedCount {
    std::size_t count = 0;
    bool operator==(const SelectedCount&) const = default;
};

/// Work finished: its one-line result and the files that it created, possibly none.
struct Completed {
    std::string message;
    std::vector<FileURL> outputs;
    bool operator==(const Completed&) const = default;
};

/// The action may run only after the user said yes to this prompt.
struct NeedsConfirmation {
    std::string prompt;
    bool operator==(const NeedsConfirmation&) const = default;
};

/// Nothing was done, and that is no error.
struct Noop {
    std::string message;
    bool operator==(const Noop&) const = default;
};

/// The action failed; the one-line reason.
struct Failure {
    std::string message;
    bool operator==(const Failure&) const = default;
};

using RunOutcome = std::variant<SelectedCount, Completed, NeedsConfirmation, Noop, Failure>;

} // namespace torvo
