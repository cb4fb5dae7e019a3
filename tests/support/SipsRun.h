#pragma once

#include "tests/support/Program.h"

#include <cstdint>
#include <string>
#include <vector>

namespace torvo::testing {

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

} // namespace torvo::testing
