#include "execution/ActionRunner.h"

#include "execution/Archive.h"
#include "execution/ErrorLine.h"
#include "execution/FailureLog.h"
#include "execution/FolderSnapshot.h"
#include "model/CommandSafety.h"
#include "support/Overloaded.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace torvo {

namespace {

constexpr const char* kShell = "/bin/zsh";
constexpr const char* kNoFolder = "Open a Finder window first";

std::string prompt(const Shell& shell) {
    return fmt::format("{}{}\n$ {}", shell.destructive ? "⚠️ DESTRUCTIVE — " : "", shell.explanation, shell.command);
}

std::string prompt(const SelectByCommand& select) {
    return fmt::format("{}\n$ {}", select.explanation, select.command);
}

std::optional<FileURL> workingFolder(const FinderContext& context) {
    if (!context.selection.empty())
        return context.selection.front().deletingLastPathComponent();
    return context.folder;
}

/// The shell run of a command with the selection as its positional arguments.
ProcessRequest shellRequest(std::string_view command, const FinderContext& context, FileURL folder) {
    ProcessRequest request{kShell, {"-c", std::string(command), "torvo"}, std::move(folder)};
    std::ranges::transform(context.selection, std::back_inserter(request.arguments), &FileURL::path);
    return request;
}

std::string errorLineOf(const ProcessResult& result) {
    return errorLine(result.standardOutput.text(), result.standardError.text(), result.status);
}

bool selectsNothing(const SelectionSpec& spec) {
    return std::holds_alternative<SelectionSpec::None>(spec.value);
}

} // namespace

std::vector<FileURL> defaultLister(const FileURL& folder) {
    std::vector<FileURL> items;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder.path(), error), end; !error && entry != end;
         entry.increment(error)) {
        const auto& path = entry->path().native();
        if (path[path.rfind('/') + 1] != '.')
            items.emplace_back(path);
    }
    return items;
}

std::vector<FileURL> resolveSelection(const SelectionSpec& spec, const std::vector<FileURL>& items) {
    return std::visit(Overloaded{
                          [&](const SelectionSpec::All&) { return items; },
                          [](const SelectionSpec::None&) { return std::vector<FileURL>{}; },
                          [&](const SelectionSpec::Extensions& extensions) {
                              std::set<std::string> wanted;
                              for (const auto& extension : extensions.list)
                                  wanted.insert(lowercased(extension));
                              std::vector<FileURL> picked;
                              std::ranges::copy_if(items, std::back_inserter(picked), [&](const FileURL& item) {
                                  const auto extension = item.pathExtension();
                                  return !extension.empty() && wanted.contains(lowercased(extension));
                              });
                              return picked;
                          },
                      },
                      spec.value);
}

std::vector<FileURL> resolvePaths(std::string_view output, const FileURL& folder,
                                  const std::function<bool(const FileURL&)>& exists) {
    std::vector<FileURL> paths;
    for (auto line : splitNonEmpty(output, "\n")) {
        if (line.starts_with("./"))
            line.remove_prefix(std::min(line.find_first_not_of('/', 1), line.size()));
        auto path = resolvingPath(line, folder);
        if (exists(path))
            paths.push_back(std::move(path));
    }
    return paths;
}

std::optional<RunOutcome> gate(const Action& action, const FinderContext& context, Consent consent, bool canConfine) {
    using Answer = std::optional<RunOutcome>;
    return std::visit(Overloaded{
                          [&](const Select& select) -> Answer {
                              if (!selectsNothing(select.spec) && !context.folder)
                                  return Failure{kNoFolder};
                              return std::nullopt;
                          },
                          [&](const ConvertImages&) -> Answer {
                              if (imageItems(context.selection).empty())
                                  return Noop{"Select one or more images in Finder first"};
                              return std::nullopt;
                          },
                          [&](const ZipSelection&) -> Answer {
                              if (context.selection.empty() || !context.folder)
                                  return Noop{"Select one or more items in Finder first"};
                              return std::nullopt;
                          },
                          [&](const Shell& shell) -> Answer {
                              if (!context.folder)
                                  return Failure{kNoFolder};
                              if (consent == Consent::given)
                                  return std::nullopt;
                              return NeedsConfirmation{prompt(shell)};
                          },
                          [&](const SelectByCommand& select) -> Answer {
                              if (!context.folder)
                                  return Failure{kNoFolder};
                              if (consent == Consent::given ||
                                  (canConfine && isProvablyReadOnlySelectionCommand(select.command)))
                                  return std::nullopt;
                              return NeedsConfirmation{prompt(select)};
                          },
                      },
                      action);
}

ActionRunner::ActionRunner(Selecting& selector, ProcessHost& host, RunnerEnvironment environment,
                           FolderLister listContents)
    : m_selector(selector),
      m_environment(std::move(environment)),
      m_listContents(std::move(listContents)),
      m_processes(host) {}

RunOutcome ActionRunner::execute(const Action& action, const FinderContext& context, const ProgressCallback& progress,
                                 Consent consent, const std::stop_token& stop) {
    const std::lock_guard turn(m_turn);
    m_processes.clearCancelled();
    const std::stop_callback cancel(stop, [this] { m_processes.cancel(); });
    return perform(action, context, progress, consent);
}

RunOutcome ActionRunner::perform(const Action& action, const FinderContext& context, const ProgressCallback& progress,
                                 Consent consent) {
    const auto report = [&](const char* label) {
        if (progress)
            progress({label, std::nullopt, std::nullopt});
    };
    return std::visit(Overloaded{
                          [&](const Select& select) { return runSelect(select.spec, context); },
                          [&](const ConvertImages& convert) { return runConvert(convert.toExt, context, progress); },
                          [&](const ZipSelection&) { return runZip(context, progress); },
                          [&](const Shell& shell) {
                              report("Running command…");
                              return runShell(shell, context);
                          },
                          [&](const SelectByCommand& select) {
                              report("Finding matching files…");
                              return runSelectByCommand(select, context, consent);
                          },
                      },
                      action);
}

std::string ActionRunner::summary(const Action& action, const FinderContext& context) const {
    return std::visit(
        Overloaded{
            [&](const Select& select) -> std::string {
                if (selectsNothing(select.spec))
                    return "Clear the selection";
                const auto items = context.folder ? m_listContents(*context.folder) : std::vector<FileURL>{};
                const auto count = resolveSelection(select.spec, items).size();
                if (std::holds_alternative<SelectionSpec::All>(select.spec.value))
                    return fmt::format("Select all {}", counted(count, "item"));
                return fmt::format("Select {}", counted(count, "matching file"));
            },
            [&](const ConvertImages& convert) {
                return fmt::format("Convert {} to {}", counted(imageItems(context.selection).size(), "image"),
                                   uppercased(convert.toExt));
            },
            [&](const ZipSelection&) {
                return fmt::format("Zip {} into an archive", counted(context.selection.size(), "item"));
            },
            [](const Shell& shell) { return prompt(shell); },
            [](const SelectByCommand& select) { return prompt(select); },
        },
        action);
}

RunOutcome ActionRunner::runSelect(const SelectionSpec& spec, const FinderContext& context) {
    if (selectsNothing(spec)) {
        m_selector.select({});
        return Completed{"Cleared selection", {}};
    }
    if (!context.folder)
        return Failure{kNoFolder};
    const auto picked = resolveSelection(spec, m_listContents(*context.folder));
    m_selector.select(picked);
    return SelectedCount{picked.size()};
}

RunOutcome ActionRunner::runConvert(std::string_view toExt, const FinderContext& context,
                                    const ProgressCallback& progress) {
    return convertImages(toExt, context.selection, m_environment.tools, m_processes, m_selector, progress);
}

RunOutcome ActionRunner::runZip(const FinderContext& context, const ProgressCallback& progress) {
    return zipSelection(context, m_environment.tools.archiver, m_processes, m_selector, progress);
}

RunOutcome ActionRunner::runShell(const Shell& shell, const FinderContext& context) {
    const auto folder = workingFolder(context);
    if (!folder)
        return Failure{kNoFolder};
    const auto before = FolderSnapshot::of(watchedFolders(context.selection, context.folder));
    const auto result = m_processes.run(shellRequest(shell.command, context, *folder));
    if (m_processes.isCancelled())
        return Failure{"Cancelled"};
    if (result.status != 0) {
        logFailed(shell.command, result);
        return Failure{fmt::format("Command failed: {}", errorLineOf(result))};
    }
    auto created = before.newFiles();
    if (!created.empty())
        m_selector.select(created);
    return Completed{shell.explanation, std::move(created)};
}

RunOutcome ActionRunner::runSelectByCommand(const SelectByCommand& select, const FinderContext& context,
                                            Consent consent) {
    if (!context.folder)
        return Failure{kNoFolder};
    const auto confinement = consent == Consent::given ? Confinement::none : Confinement::readOnly;
    if (consent == Consent::none && !isProvablyReadOnlySelectionCommand(select.command))
        return NeedsConfirmation{prompt(select)};
    const auto result = m_processes.run({kShell, {"-c", select.command}, context.folder, confinement});
    if (m_processes.isCancelled())
        return Failure{"Cancelled"};
    if (result.confinementUnavailable)
        return NeedsConfirmation{prompt(select)};
    if (result.status != 0) {
        logFailed(select.command, result);
        return Failure{fmt::format("Selection command failed: {}", errorLineOf(result))};
    }
    const auto paths = resolvePaths(result.standardOutput.bytes(), *context.folder);
    if (paths.empty())
        return Noop{"No files matched"};
    m_selector.select(paths);
    return SelectedCount{paths.size()};
}

ProcessResult ActionRunner::readonlyOutput(std::string_view command, const FinderContext& context, const FileURL& home,
                                           const std::stop_token& stop) {
    const std::lock_guard turn(m_turn);
    m_processes.clearCancelled();
    const std::stop_callback cancel(stop, [this] { m_processes.cancel(); });
    auto request = shellRequest(command, context, workingFolder(context).value_or(home));
    request.confinement = Confinement::readOnly;
    return m_processes.run(request);
}

void ActionRunner::logFailed(std::string_view command, const ProcessResult& result) const {
    logFailure(m_environment.applicationSupport,
               {command, result.status, result.standardOutput.text(), result.standardError.text()});
}

} // namespace torvo
