#include "app/Arguments.h"

#include "app/Terminal.h"

#include <fmt/format.h>

namespace torvo {

namespace {

/// CLI11 takes "[a,b]" for a list of two values. A NUL byte at the end, which no argument can hold, keeps it whole; the
/// options take it off again.
std::vector<std::string> protectingBrackets(std::vector<std::string> arguments) {
    for (auto& argument : arguments) {
        if (argument.starts_with('[') && argument.ends_with(']'))
            argument += '\0';
    }
    return arguments;
}

void takeOffProtection(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        option->transform([](std::string value) {
            if (value.ends_with('\0'))
                value.pop_back();
            return value;
        });
    }
    for (CLI::App* subcommand : app.get_subcommands([](CLI::App*) { return true; }))
        takeOffProtection(*subcommand);
}

} // namespace

std::optional<ExitStatus> parse(CLI::App& app, const std::vector<std::string>& arguments) {
    try {
        takeOffProtection(app);
        // CLI11 takes its arguments from the back.
        app.parse(protectingBrackets({arguments.rbegin(), arguments.rend()}));
        return std::nullopt;
    } catch (const CLI::CallForHelp&) {
        fmt::print("{}", app.help());
        return ExitStatus::done;
    } catch (const CLI::ParseError& error) {
        printError(fmt::format("{} (see {} --help)", error.what(), app.get_name()));
        return ExitStatus::badUsage;
    }
}

} // namespace torvo
