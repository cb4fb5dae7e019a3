#include "app/CommandLine.h"
#include "app/Terminal.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kHelp = R"(Torvo carries out typed commands on files.

usage: torvo run [--allow-destructive] [--json] COMMAND [FILE...]
       torvo plan [--json] COMMAND [FILE...]
       torvo settings [KEY [VALUE]] | --unset KEY
       torvo rules [add TRIGGER EXPANSION | remove ID]
       torvo toggle | drop FILE... | prefill TEXT
       torvo --help | --version

Commands understood at once:
  select all png, select images and videos, deselect     pick files of the folder
  jpg, convert to png, make a heic                       convert the given images
  zip                                                    put the given files into an archive
Everything else goes to your local language model, once one is set:
  torvo settings llm.baseURL http://127.0.0.1:11434
  torvo settings llm.model NAME

Examples:
  torvo run jpg a.png b.png
  torvo run "select images" ~/Pictures/*
  torvo plan "rename these 001, 002" *.txt
  find . -name '*.png' -print0 | torvo run --files-from - -0 zip

The bar on your desktop is reached with these, which start it when it does not run:
  torvo toggle                                           show it and type into it
  torvo drop FILE...                                     hand files to it
  torvo prefill TEXT                                     show it with a text

Without files, run and plan take what is selected in the file manager.
What was done is printed first, then the files that came of it, one a line.
Exit status: 0 done or nothing to do, 1 failed, 2 bad usage, 3 a destructive
command that was not allowed, 130 cancelled with Ctrl-C.
"torvo run --help" and so on tell more about each.
)";

torvo::ExitStatus dispatch(const std::vector<std::string>& arguments) {
    using torvo::ExitStatus;
    if (arguments.empty()) {
        torvo::printError("what should be done? See torvo --help");
        return ExitStatus::badUsage;
    }
    const auto& name = arguments.front();
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (name == "run")
        return torvo::runCommand(rest);
    if (name == "plan")
        return torvo::planCommand(rest);
    if (name == "settings")
        return torvo::settingsCommand(rest);
    if (name == "rules")
        return torvo::rulesCommand(rest);
    if (name == "toggle")
        return torvo::toggleCommand(rest);
    if (name == "drop")
        return torvo::dropCommand(rest);
    if (name == "prefill")
        return torvo::prefillCommand(rest);
    if (name == "--help" || name == "-h" || name == "help") {
        fmt::print("{}", kHelp);
        return ExitStatus::done;
    }
    if (name == "--version") {
        fmt::print("torvo {}\n", TORVO_VERSION);
        return ExitStatus::done;
    }
    torvo::printError(
        fmt::format("“{}” is no command of torvo; did you mean torvo run {} FILE...? See torvo --help", name, name));
    return ExitStatus::badUsage;
}

} // namespace

int main(int count, char** values) {
    try {
        const auto status = dispatch(std::vector<std::string>(values + 1, values + count));
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            torvo::printError("the results could not be written to standard output");
            return static_cast<int>(torvo::ExitStatus::failed);
        }
        return static_cast<int>(status);
    } catch (const std::exception& error) {
        torvo::printError(error.what());
        return static_cast<int>(torvo::ExitStatus::failed);
    }
}
