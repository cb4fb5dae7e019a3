#include "tests/support/RunReports.h"

#include "support/Overloaded.h"

namespace torvo::testing {

std::string shown(const RunOutcome& outcome) {
    return std::visit(Overloaded{
                          [](const SelectedCount& selected) { return "selected: " + std::to_string(selected.count); },
                          [](const Completed& completed) { return "completed: " + completed.message; },
                          [](const NeedsConfirmation& needed) { return "needs confirmation: " + needed.prompt; },
                          [](const Noop& noop) { return "noop: " + noop.message; },
                          [](const Failure& failure) { return "failure: " + failure.message; },
                      },
                      outcome);
}

std::vector<FileURL> outputsOf(const RunOutcome& outcome) {
    const auto* completed = std::get_if<Completed>(&outcome);
    return completed == nullptr ? std::vector<FileURL>{} : completed->outputs;
}

std::vector<std::string> namesOf(const std::vector<FileURL>& files) {
    std::vector<std::string> names;
    for (const auto& file : files)
        names.emplace_back(file.lastPathComponent());
    return names;
}

std::vector<std::string> oddNames(const std::string& suffix) {
    std::vector<std::string> names{"two  words", " edge ",  "it's \"so\"", "line\nbreak", "cr\r",          "tab\t",
                                   "-dash",      "--out",   "-",           "@",           "$(touch harm)", "`x`;&|",
                                   "[a]*?{b,c}", "back\\n", "%n=~#!",      "\xff\xfe",    "caf\xe9",       "日本 é"};
    for (auto& name : names)
        name += suffix;
    return names;
}

} // namespace torvo::testing
