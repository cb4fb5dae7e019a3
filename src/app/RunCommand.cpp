#include "app/Arguments.h"
#include "app/FileArguments.h"
#include "app/Interruption.h"
#include "app/RunTorvoCommandIntent.h"
#include "app/Services.h"
#include "app/Terminal.h"
#include "support/Json.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <expected>

namespace torvo {

namespace {

/// What `run` and `plan` both take.
struct CommandArguments {
    std::string command;
    std::vector<std::string> paths;
    std::string listName;
    bool isNulSeparated = false;
    bool isJson = false;

    void addTo(CLI::App& app) {
        app.add_option("COMMAND", command, IntentText::kCommand)->required();
        app.add_option("FILE", paths, IntentText::kFiles);
        auto* list =
            app.add_option("--files-from", listName, "Take more files from a list, one a line (-: standard input)");
        app.add_flag("-0,--null", isNulSeparated, "The list's names end in a NUL byte, as find -print0 writes them")
            ->needs(list);
        app.add_flag("--json", isJson, "Print one JSON object");
    }

    [[nodiscard]] std::expected<std::vector<FileURL>, std::string> files() const {
        return filesFromArguments(paths, listName, isNulSeparated ? '\0' : '\n');
    }
};

Json printablePaths(const std::vector<FileURL>& files) {
    Json list = Json::array();
    for (const auto& file : files)
        list.push_back(printable(file.path()));
    return list;
}

/// Prints a failure and says what the program exits with.
ExitStatus fail(const CommandArguments& arguments, ExitStatus status, const std::string& message) {
    if (arguments.isJson) {
        const char* name = status == ExitStatus::refused       ? "refused"
                           : status == ExitStatus::interrupted ? "cancelled"
                                                               : "failed";
        printLine(compactJson({{"status", name}, {"message", message}, {"files", Json::array()}}));
    }
    printError(message);
    return status;
}

/// The file manager's selection: none, as long as no file manager is asked.
std::vector<FileURL> selectedFiles() {
    return {};
}

Json describeRows(const std::vector<PreviewRow>& rows) {
    Json list = Json::array();
    for (const auto& row : rows)
        list.push_back({{"from", row.from}, {"to", row.to ? Json(*row.to) : Json()}});
    return list;
}

void printPlan(const Plan& plan, const PreviewResult& preview, bool isJson) {
    if (isJson) {
        Json object{{"route", plan.route},
                    {"action", encode(plan.action)},
                    {"summary", plan.summary},
                    {"destructive", plan.destructive},
                    {"files", printablePaths(plan.context.selection)}};
        if (!preview)
            object["previewError"] = preview.error().message;
        else if (!preview->empty())
            object["preview"] = describeRows(*preview);
        printLine(compactJson(object));
        return;
    }
    for (const auto line : splitLines(plan.summary))
        printLine(printableLine(line));
    printLine(fmt::format("route: {}; needs --allow-destructive: {}", plan.route, plan.destructive ? "yes" : "no"));
    if (!preview)
        printLine(fmt::format("preview: {}", oneLine(preview.error().message)));
    else
        for (const auto& row : *preview)
            printLine(fmt::format("{} -> {}", printableLine(row.from), printableLine(row.to.value_or(""))));
}

} // namespace

ExitStatus runCommand(const std::vector<std::string>& arguments) {
    CommandArguments given;
    bool allowDestructive = false;
    CLI::App app("Carries out a command on files. Prints what was done, then the files that came of it, one a line.",
                 "torvo run");
    given.addTo(app);
    app.add_flag("--allow-destructive", allowDestructive, IntentText::kAllowDestructive);
    if (const auto status = parse(app, arguments))
        return *status;
    const auto files = given.files();
    if (!files)
        return fail(given, ExitStatus::badUsage, files.error());

    addToolsToSearchPath();
    const Interruption interruption;
    Services services;
    ProgressLine line;
    line.show({"Planning…", std::nullopt, std::nullopt});
    const auto result = RunTorvoCommandIntent{given.command, *files, allowDestructive}.perform(
        services.executor, selectedFiles, [&](const OperationProgress& progress) { line.show(progress); },
        interruption.token());
    line.clear();
    if (!result) {
        if (interruption.isRequested())
            return fail(given, ExitStatus::interrupted, "Cancelled");
        const auto status =
            result.error().kind == TorvoIntentError::Kind::refused ? ExitStatus::refused : ExitStatus::failed;
        return fail(given, status, result.error().message);
    }
    if (given.isJson) {
        printLine(compactJson({{"status", result->isNoop ? "noop" : "done"},
                               {"message", result->dialog},
                               {"files", printablePaths(result->files)}}));
        return ExitStatus::done;
    }
    printLine(oneLine(result->dialog));
    printPaths(result->files);
    return ExitStatus::done;
}

ExitStatus planCommand(const std::vector<std::string>& arguments) {
    CommandArguments given;
    CLI::App app("Shows what a command would do to files, without doing it: how it was understood, what would run, and "
                 "for renames each file's new name.",
                 "torvo plan");
    given.addTo(app);
    if (const auto status = parse(app, arguments))
        return *status;
    const auto files = given.files();
    if (!files)
        return fail(given, ExitStatus::badUsage, files.error());

    addToolsToSearchPath();
    const Interruption interruption;
    Services services;
    ProgressLine line;
    line.show({"Planning…", std::nullopt, std::nullopt});
    const auto plan = services.executor.plan(given.command, *files, interruption.token());
    const auto preview = plan ? services.executor.preview(*plan, homeFolder(), interruption.token()) : PreviewResult{};
    line.clear();
    if (interruption.isRequested())
        return fail(given, ExitStatus::interrupted, "Cancelled");
    if (!plan)
        return fail(given, ExitStatus::failed, plan.error().message);
    printPlan(*plan, preview, given.isJson);
    return ExitStatus::done;
}

} // namespace torvo
