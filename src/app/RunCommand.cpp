#include "app/Arguments.h"
#include "app/FileArguments.h"
#include "app/Interruption.h"
#include "app/RunTorvoCommandIntent.h"
#include "app/Services.h"
#include "app/Terminal.h"
#include "linux/filemanager/FileManagers.h"
#include "support/Json.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <expected>
#include <functional>

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
        app.add_option("COMMAND", command, IntentText::kCommand)->required()->option_text(" ");
        app.add_option("FILE", paths,
                       fmt::format("{} When none are named, the file manager's selection counts.", IntentText::kFiles))
            ->option_text(" ");
        auto* list =
            app.add_option("--files-from", listName, "Take more files from a list, one a line (-: standard input)");
        list->option_text("LIST");
        app.add_flag("-0,--null", isNulSeparated, "The list's names end in a NUL byte, as find -print0 writes them")
            ->needs(list)
            ->option_text(" ");
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

void printJson(const char* status, const std::string& message, const std::vector<FileURL>& files) {
    printLine(compactJson({{"status", status}, {"message", message}, {"files", printablePaths(files)}}));
}

/// Prints a failure and says what the program exits with.
ExitStatus fail(const CommandArguments& arguments, ExitStatus status, const std::string& message) {
    if (arguments.isJson) {
        const char* name = status == ExitStatus::refused       ? "refused"
                           : status == ExitStatus::interrupted ? "cancelled"
                                                               : "failed";
        printJson(name, message, {});
    }
    printError(message);
    return status;
}

/// The file manager's selection.
std::vector<FileURL> selectedFiles() {
    SessionBus bus;
    FileManagers fileManagers(bus);
    std::vector<FileURL> files;
    for (auto& path : fileManagers.selection())
        files.emplace_back(std::move(path));
    fileManagers.leaveClipboardBehind();
    return files;
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
    // What follows the first line is set in, so that no line of a command passes for one of ours.
    const char* indent = "";
    for (const auto line : splitLines(plan.summary)) {
        printLine(indent + printableLine(line));
        indent = "  ";
    }
    printLine(fmt::format("route: {}; needs --allow-destructive: {}", plan.route, plan.destructive ? "yes" : "no"));
    if (!preview)
        printLine(fmt::format("preview: {}", oneLine(preview.error().message)));
    else
        for (const auto& row : *preview)
            printLine(fmt::format("{} -> {}", printableLine(row.from), printableLine(row.to.value_or(""))));
}

/// What one command works with.
struct Session {
    /// First, so that every thread starts with the ending signals blocked.
    Interruption interruption;
    Services services;
    ProgressLine line;
};

/// Reads the arguments, then hands the files that they name to `work`.
ExitStatus start(CLI::App& app, CommandArguments& given, const std::vector<std::string>& arguments,
                 const std::function<ExitStatus(Session&, const std::vector<FileURL>&)>& work) {
    given.addTo(app);
    if (const auto status = parse(app, arguments)) {
        // The arguments were not understood, but what asks for JSON is to get JSON.
        if (*status == ExitStatus::badUsage && std::ranges::find(arguments, "--json") != arguments.end())
            printJson("failed", "The arguments were not understood.", {});
        return *status;
    }
    const auto files = given.files();
    if (!files)
        return fail(given, ExitStatus::badUsage, files.error());
    addToolsToSearchPath();
    Session session;
    session.line.show({"Planning…", std::nullopt, std::nullopt});
    return work(session, *files);
}

ExitStatus run(Session& session, const CommandArguments& given, const std::vector<FileURL>& files,
               bool allowDestructive) {
    const auto result = RunTorvoCommandIntent{given.command, files, allowDestructive}.perform(
        session.services.executor, selectedFiles,
        [&](const OperationProgress& progress) { session.line.show(progress); }, session.interruption.token());
    session.line.clear();
    if (!result) {
        if (session.interruption.isRequested())
            return fail(given, ExitStatus::interrupted, "Cancelled");
        const bool isRefused = result.error().kind == TorvoIntentError::Kind::refused;
        return fail(given, isRefused ? ExitStatus::refused : ExitStatus::failed, result.error().message);
    }
    if (given.isJson) {
        printJson(result->isNoop ? "noop" : "done", result->dialog, result->files);
        return ExitStatus::done;
    }
    printLine(oneLine(result->dialog));
    printPaths(result->files);
    return ExitStatus::done;
}

ExitStatus plan(Session& session, const CommandArguments& given, const std::vector<FileURL>& files) {
    const auto& executor = session.services.executor;
    const auto stop = session.interruption.token();
    const auto planned = executor.plan(given.command, files.empty() ? selectedFiles() : files, stop);
    const auto preview = planned ? executor.preview(*planned, homeFolder(), stop) : PreviewResult{};
    session.line.clear();
    if (session.interruption.isRequested())
        return fail(given, ExitStatus::interrupted, "Cancelled");
    if (!planned)
        return fail(given, ExitStatus::failed, planned.error().message);
    printPlan(*planned, preview, given.isJson);
    return ExitStatus::done;
}

} // namespace

ExitStatus runCommand(const std::vector<std::string>& arguments) {
    CommandArguments given;
    bool allowDestructive = false;
    CLI::App app("Carries out a command on files. Prints what was done, then the files that came of it, one a line.",
                 "torvo run");
    app.add_flag("--allow-destructive", allowDestructive, IntentText::kAllowDestructive);
    return start(app, given, arguments, [&](Session& session, const std::vector<FileURL>& files) {
        return run(session, given, files, allowDestructive);
    });
}

ExitStatus planCommand(const std::vector<std::string>& arguments) {
    CommandArguments given;
    CLI::App app("Shows what a command would do to files, without doing it: how it was understood, what would run, and "
                 "for renames each file's new name.",
                 "torvo plan");
    return start(app, given, arguments,
                 [&](Session& session, const std::vector<FileURL>& files) { return plan(session, given, files); });
}

} // namespace torvo
