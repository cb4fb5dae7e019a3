#include "app/Arguments.h"
#include "app/FileArguments.h"
#include "app/Services.h"
#include "app/Terminal.h"
#include "linux/DetachedProgram.h"
#include "linux/RemoteControl.h"
#include "linux/X11Connection.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <functional>

namespace torvo {

namespace {

using Kind = RemoteBar::Failure::Kind;

/// How long a bar that was just started may take until it can be asked.
constexpr std::chrono::seconds kStartTime{10};

/// Starts the bar that is beside this program, and waits until it can be asked.
RemoteBar::Result startBar() {
    if (X11Connection::create() == nullptr)
        return std::unexpected(RemoteBar::Failure{
            Kind::notRunning, "Torvo is not running, and there is no X11 desktop here to start torvo-bar on"});
    // The folder that the order was given in is not to be in use for as long as the bar runs.
    std::error_code ignored;
    std::filesystem::current_path(homeFolder().path(), ignored);
    if (const auto started = startDetached({programFolder().appendingPath("torvo-bar").path()}); !started)
        return std::unexpected(RemoteBar::Failure{Kind::notRunning, started.error()});
    if (!RemoteBar::waitUntilRunning(kStartTime))
        return std::unexpected(RemoteBar::Failure{
            Kind::notRunning, "torvo-bar was started, but cannot be reached; started in a terminal it says why"});
    return {};
}

/// Has the bar do something, starting it when it does not run yet.
ExitStatus order(const std::function<RemoteBar::Result()>& ask) {
    auto result = ask();
    if (!result && result.error().kind == Kind::notRunning) {
        result = startBar();
        if (result)
            result = ask();
    }
    if (result)
        return ExitStatus::done;
    printError(result.error().description);
    return ExitStatus::failed;
}

} // namespace

ExitStatus toggleCommand(const std::vector<std::string>& arguments) {
    CLI::App app("Shows the bar under the file manager's window and gives it the keyboard: the command to bind to a "
                 "shortcut in the desktop's own settings.",
                 "torvo toggle");
    if (const auto status = parse(app, arguments))
        return *status;
    return order(RemoteBar::toggle);
}

ExitStatus dropCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> paths;
    std::string listName;
    bool isNulSeparated = false;
    CLI::App app("Hands files to the bar, as if they were dropped on it.", "torvo drop");
    app.add_option("FILE", paths, "The files")->option_text(" ");
    auto* list =
        app.add_option("--files-from", listName, "Take more files from a list, one a line (-: standard input)");
    list->option_text("LIST");
    app.add_flag("-0,--null", isNulSeparated, "The list's names end in a NUL byte, as find -print0 writes them")
        ->needs(list)
        ->option_text(" ");
    if (const auto status = parse(app, arguments))
        return *status;
    const auto files = filesFromArguments(paths, listName, isNulSeparated ? '\0' : '\n');
    if (!files || files->empty()) {
        printError(files ? "which files? See torvo drop --help" : files.error());
        return ExitStatus::badUsage;
    }
    for (const auto& file : *files) {
        if (!file.isOccupied()) {
            printError(fmt::format("there is no {}", file.path()));
            return ExitStatus::badUsage;
        }
    }
    return order([&] { return RemoteBar::drop(*files); });
}

ExitStatus prefillCommand(const std::vector<std::string>& arguments) {
    std::string text;
    CLI::App app("Shows the bar with a text in it, which waits to be entered.", "torvo prefill");
    app.add_option("TEXT", text, "What to type")->required()->option_text(" ");
    if (const auto status = parse(app, arguments))
        return *status;
    if (printable(text) != text) {
        printError("the text must be UTF-8");
        return ExitStatus::badUsage;
    }
    return order([&] { return RemoteBar::prefill(text); });
}

} // namespace torvo
