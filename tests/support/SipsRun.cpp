#include "tests/support/SipsRun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace torvo::testing {

void draw(const std::vector<std::string>& arguments) {
    const Ran ran = run(arguments, {.program = "/usr/bin/convert"});
    EXPECT_EQ(ran.status, 0) << ran.errors;
}

std::string Pixels::at(int x, int y) const {
    const std::uint8_t* const pixel = &bytes.at(4 * (static_cast<std::size_t>(y) * width + x));
    char text[10];
    std::snprintf(text, sizeof text, "#%02X%02X%02X%02X", pixel[0], pixel[1], pixel[2], pixel[3]);
    return text;
}

Pixels decode(const std::string& path) {
    const Ran ran = run({path + "[0]", "-colorspace", "sRGB", "-depth", "8", "-type", "TrueColorAlpha", "pam:-"},
                        {.program = "/usr/bin/convert"});
    EXPECT_EQ(ran.status, 0) << path << ": " << ran.errors;
    Pixels pixels;
    const std::size_t headerEnd = ran.output.find("ENDHDR\n");
    EXPECT_EQ(std::sscanf(ran.output.c_str(), "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4", &pixels.width, &pixels.height), 2);
    if (headerEnd != std::string::npos)
        pixels.bytes.assign(ran.output.begin() + static_cast<long>(headerEnd) + 7, ran.output.end());
    EXPECT_EQ(pixels.bytes.size(), std::size_t{4} * pixels.width * pixels.height) << path;
    return pixels;
}

double difference(const Pixels& one, const Pixels& other) {
    if (one.bytes.size() != other.bytes.size() || one.width != other.width || one.bytes.empty())
        return 255;
    double sum = 0;
    for (std::size_t i = 0; i < one.bytes.size(); ++i)
        sum += std::abs(one.bytes[i] - other.bytes[i]);
    return sum / static_cast<double>(one.bytes.size());
}

std::string identify(const std::string& path, const std::string& what) {
    const Ran ran = run({"-format", what, path}, {.program = "/usr/bin/identify"});
    EXPECT_EQ(ran.status, 0) << path << ": " << ran.errors;
    return ran.output;
}

} // namespace torvo::testing
