#pragma once

#include "support/FileURL.h"

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
    std::string program = TORVO_BIN_DIR "/sips";
    std::string folder = "/";
    /// The largest file that the program may write, as if the disk were full then.
    std::optional<std::uint64_t> largestFile;
};

/// Starts a program and returns its process number; its streams go to the files named.
[[nodiscard]] int start(const std::vector<std::string>& arguments, const RunSettings& settings,
                        const std::string& outputFile, const std::string& errorFile);
/// Waits for the end of a started program.
[[nodiscard]] int statusOf(int process);

/// Runs sips (or another program) to its end.
[[nodiscard]] Ran run(const std::vector<std::string>& arguments, const RunSettings& settings = {});
[[nodiscard]] Ran runSips(const std::vector<std::string>& arguments);

/// Makes a picture with ImageMagick's convert. Fails the test when that fails.
void draw(const std::vector<std::string>& arguments);

/// A picture as another program (ImageMagick) decodes it, 8 bits a channel.
struct Pixels {
    int width = 0;
    int height = 0;
    /// Red, green, blue, alpha; rows from the top.
    std::vector<std::uint8_t> bytes;

    /// "#RRGGBBAA"
    [[nodiscard]] std::string at(int x, int y) const;
    bool operator==(const Pixels&) const = default;
};
/// The first frame. Empty, with a failed test, when the file cannot be decoded.
[[nodiscard]] Pixels decode(const std::string& path);
/// The mean difference of two pictures' samples, 0 to 255; 255 when the sizes differ.
[[nodiscard]] double difference(const Pixels& one, const Pixels& other);

/// What ImageMagick's identify says, by its -format escapes, of every frame.
[[nodiscard]] std::string identify(const std::string& path, const std::string& what);

/// The names in a folder, sorted.
[[nodiscard]] std::vector<std::string> namesIn(const std::string& folder);

} // namespace torvo::testing
