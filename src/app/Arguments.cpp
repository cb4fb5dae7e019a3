#include "app/Arguments.h"

#include "app/Terminal.h"

#include <fmt/format.h>

namespace torvo {

std::optional<ExitStatus> parse(CLI::App& app, const std::vector<std::string>& arguments) {
    try {
        // CLI11 takes its arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
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
