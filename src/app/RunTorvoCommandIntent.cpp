#include "app/RunTorvoCommandIntent.h"

#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>

namespace torvo {

std::expected<IntentResult, TorvoIntentError>
RunTorvoCommandIntent::perform(const CommandExecutor& executor,
                               const std::function<std::vector<FileURL>()>& selectedFiles,
                               const ProgressCallback& progress, const std::stop_token& stop) const {
    using Kind = TorvoIntentError::Kind;
    using Result = std::expected<IntentResult, TorvoIntentError>;
    const auto plan = executor.plan(command, files.empty() ? selectedFiles() : files, stop);
    if (!plan)
        return std::unexpected(TorvoIntentError{Kind::failed, plan.error().message});
    if (plan->destructive && !allowDestructive) {
        return std::unexpected(TorvoIntentError{
            Kind::refused, fmt::format("“{}” would delete, overwrite, or move files. Turn on “Allow destructive "
                                       "changes” in this action to run it.",
                                       command)});
    }
    const auto outcome = executor.execute(*plan, allowDestructive ? Consent::given : Consent::none, progress, stop);
    return std::visit(
        Overloaded{
            [](const SelectedFiles& selected) -> Result {
                return IntentResult{fmt::format("Matched {}.", counted(selected.files.size(), "file")), selected.files};
            },
            [](const Completed& completed) -> Result { return IntentResult{completed.message, completed.outputs}; },
            [](const Noop& noop) -> Result { return IntentResult{noop.message, {}, true}; },
            [](const Failure& failure) -> Result {
                return std::unexpected(TorvoIntentError{Kind::failed, failure.message});
            },
        },
        outcome);
}

} // namespace torvo
