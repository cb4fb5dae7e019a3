#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace torvo::testing {

struct Ran {
    /// The exit status; 128 plus the signal for a program that a signal ended.
    int status = -1;
    std::string output;
    std::string errors;
};

struct RunSettings {
    /// The image tool where nothing is said.
    std::string program = TORVO_BIN_DIR "/sips";
    std::string folder = "/";
    /// The largest file that the program may write, as if the disk were full then.
    std::optional<std::uint64_t> largestFile = std::nullopt;
    /// NAME=value strings in place of the variables of these names that the test itself has.
    std::vector<std::string> environment = {};
    /// The file that the program reads as its standard input.
    std::string input = "/dev/null";
};

/// Starts a program and returns its process number; its streams go to the files named.
[[nodiscard]] int start(const std::vector<std::string>& arguments, const RunSettings& settings,
                        const std::string& outputFile, const std::string& errorFile);
/// Becomes the program: for a child of the test's own making. Ends the process when that fails.
[[noreturn]] void become(const std::vector<std::string>& arguments, const RunSettings& settings);
/// Waits for the end of a started program.
[[nodiscard]] int statusOf(int process);

/// Runs a program to its end.
[[nodiscard]] Ran run(const std::vector<std::string>& arguments, const RunSettings& settings = {});

} // namespace torvo::testing
