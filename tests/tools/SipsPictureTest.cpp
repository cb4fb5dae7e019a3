#include "tests/support/SipsRun.h"
#include "tests/support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace torvo::testing {
namespace {

using Strings = std::vector<std::string>;

const Strings kFormats{"png", "jpeg", "tiff", "gif", "bmp", "heic", "webp"};

constexpr auto kRed = "#FF0000FF";
constexpr auto kGreen = "#00FF00FF";
constexpr auto kBlue = "#0000FFFF";
constexpr auto kWhite = "#FFFFFFFF";

/// 40 x 20 pixels, a quarter each of red (top left), green (top right), blue (bottom left) and white.
std::string drawQuarters(const TemporaryFolder& folder) {
    const std::string path = (folder / "quarters.png").path();
    draw({"-size", "20x10", "(", "xc:red", "xc:lime", "+append", ")", "(", "xc:blue", "xc:white", "+append", ")",
          "-append", "PNG24:" + path});
    return path;
}

/// A soft picture, so that lossy formats keep it well.
void drawGradient(const std::string& path, const Strings& more = {}) {
    Strings arguments{"-size", "64x48", "gradient:orange-navy"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    arguments.push_back(path);
    draw(arguments);
}

TEST(SipsFormats, convertFromEachToEveryOther) {
    const TemporaryFolder folder;
    const std::string original = (folder / "original.png").path();
    drawGradient(original, {"-depth", "8"});
    const Pixels expected = decode(original);
    Strings sources;
    for (const std::string& from : kFormats) {
        sources.push_back((folder / fmt::format("from-{0}.{0}", from)).path());
        ASSERT_EQ(run({"-s", "format", from, original, "--out", sources.back()}).errors, "") << from;
    }
    for (const std::string& to : kFormats) {
        Strings arguments = sources;
        const std::string targets = folder.folder(to).path();
        arguments.insert(arguments.end(), {"-s", "format", to, "--out", targets});
        const Ran ran = run(arguments);
        ASSERT_EQ(ran.status, 0) << to << ": " << ran.errors;
        EXPECT_EQ(ran.output + ran.errors, "");
        for (const std::string& from : kFormats) {
            const std::string extension = to == "jpeg" && from != "jpeg" ? "jpg" : to;
            const std::string target = fmt::format("{}/from-{}.{}", targets, from, extension);
            std::string name = to;
            std::ranges::transform(name, name.begin(), [](char c) { return static_cast<char>(c - 'a' + 'A'); });
            EXPECT_EQ(identify(target, "%m"), name) << from;
            EXPECT_LT(difference(decode(target), expected), 3) << from << " to " << to;
        }
    }
}

TEST(SipsGeometryOperations, makeTheSizeThatWasAskedFor) {
    const TemporaryFolder folder;
    const std::string source = drawQuarters(folder);
    const std::string target = (folder / "target.png").path();
    const std::vector<std::pair<Strings, std::string>> rows{
        {{"-Z", "10"}, "10x5"},
        {{"-Z", "1"}, "1x1"},
        {{"--resampleWidth", "3"}, "3x2"},
        {{"-Z", "80"}, "80x40"},
        {{"-z", "7", "13"}, "13x7"},
        {{"--resampleWidth", "20"}, "20x10"},
        {{"--resampleHeight", "40"}, "80x40"},
        {{"-c", "10", "30"}, "30x10"},
        {{"-c", "100", "30"}, "30x20"},
        {{"-r", "90"}, "20x40"},
        {{"-r", "-450"}, "20x40"},
        {{"-r", "180"}, "40x20"},
        {{"-r", "90", "-c", "30", "10", "-Z", "15"}, "5x15"},
        {{"-c", "30", "10", "-r", "90", "-Z", "15"}, "15x8"},
    };
    for (const auto& [operations, size] : rows) {
        Strings arguments = operations;
        arguments.insert(arguments.end(), {source, "--out", target});
        const Ran ran = run(arguments);
        ASSERT_EQ(ran.status, 0) << ran.errors;
        EXPECT_EQ(identify(target, "%wx%h"), size) << ::testing::PrintToString(operations);
    }
}

TEST(SipsGeometryOperations, movePixelsToTheirPlaces) {
    const TemporaryFolder folder;
    const std::string source = drawQuarters(folder);
    const std::string target = (folder / "target.png").path();
    struct Row {
        Strings operations;
        /// Clockwise from the top left corner.
        Strings corners;
    };
    const std::vector<Row> rows{
        {{"-r", "90"}, {kBlue, kRed, kGreen, kWhite}},
        {{"-r", "180"}, {kWhite, kBlue, kRed, kGreen}},
        {{"-r", "-90"}, {kGreen, kWhite, kBlue, kRed}},
        {{"-f", "horizontal"}, {kGreen, kRed, kBlue, kWhite}},
        {{"-f", "vertical"}, {kBlue, kWhite, kGreen, kRed}},
        {{"-f", "horizontal", "-r", "90"}, {kWhite, kGreen, kRed, kBlue}},
        {{"-r", "90", "-f", "horizontal"}, {kRed, kBlue, kWhite, kGreen}},
        {{"-c", "2", "2"}, {kRed, kGreen, kWhite, kBlue}},
        {{"-r", "10"}, {kWhite, kWhite, kWhite, kWhite}},
    };
    for (const Row& row : rows) {
        Strings arguments = row.operations;
        arguments.insert(arguments.end(), {source, "--out", target});
        ASSERT_EQ(run(arguments).errors, "");
        const Pixels pixels = decode(target);
        const int right = pixels.width - 1;
        const int bottom = pixels.height - 1;
        EXPECT_EQ((Strings{pixels.at(0, 0), pixels.at(right, 0), pixels.at(right, bottom), pixels.at(0, bottom)}),
                  row.corners)
            << ::testing::PrintToString(row.operations);
    }
}

/// `jpeg` with an Exif segment that says how the camera was held (Exif 2.32, tag 0x0112).
std::string withOrientation(const std::string& jpeg, char orientation) {
    using namespace std::string_literals;
    const std::string body = "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0"s + orientation + "\0\0\0\0\0\0"s;
    return jpeg.substr(0, 2) + "\xFF\xE1\0"s + static_cast<char>(body.size() + 2) + body + jpeg.substr(2);
}

TEST(SipsOrientation, isCarriedOutAndNotMarkedAnyMore) {
    const TemporaryFolder folder;
    const std::string quarters = drawQuarters(folder);
    const std::string upright = (folder / "upright.jpg").path();
    draw({quarters, "-sampling-factor", "1x1", "-quality", "100", upright});
    const std::string lying = folder.file("lying.jpg", withOrientation(readFile(FileURL(upright)), 6)).path();
    draw({quarters, "-rotate", "90", (folder / "turned.png").path()});
    const Pixels turned = decode((folder / "turned.png").path());
    EXPECT_EQ(run({"-g", "pixelWidth", "-g", "pixelHeight", lying}).output,
              lying + "\n  pixelWidth: 20\n  pixelHeight: 40\n");
    for (const std::string& format : kFormats) {
        const std::string target = (folder / ("target." + format)).path();
        ASSERT_EQ(run({"-s", "format", format, lying, "--out", target}).errors, "");
        const Pixels pixels = decode(target);
        ASSERT_EQ(std::pair(pixels.width, pixels.height), std::pair(20, 40)) << format;
        EXPECT_LT(difference(pixels, turned), 8) << format;
        const std::string mark = identify(target, "%[orientation]");
        EXPECT_TRUE(mark == "TopLeft" || mark == "Undefined") << format << ": " << mark;
    }
}

TEST(SipsTransparency, isKeptWhereTheFormatHoldsItAndWhiteElsewhere) {
    const TemporaryFolder folder;
    const std::string source = (folder / "clear.png").path();
    draw({"-size", "8x8", "xc:#FF000000", "-fill", "#00FF00FF", "-draw", "rectangle 0,0 7,3", "PNG32:" + source});
    for (const std::string& format : kFormats) {
        const std::string target = (folder / ("target." + format)).path();
        ASSERT_EQ(run({"-s", "format", format, source, "--out", target}).errors, "");
        std::string seen = target;
        if (format == "heic") {
            // ImageMagick does not decode the transparency of heic.
            seen += ".png";
            ASSERT_EQ(run({"copy", target, seen}, {.program = "/usr/bin/vips"}).errors, "");
        }
        const std::string bottom = decode(seen).at(4, 6);
        if (format == "bmp")
            EXPECT_EQ(bottom, kWhite);
        else if (format == "jpeg")
            EXPECT_GE(bottom, "#F0") << bottom;
        else
            EXPECT_TRUE(bottom.ends_with("00")) << format << ": " << bottom;
    }
    // Clear red must not bleed into the green half.
    const std::string small = (folder / "small.png").path();
    ASSERT_EQ(run({"-z", "3", "3", source, "--out", small}).errors, "");
    EXPECT_EQ(decode(small).at(1, 1).substr(0, 3), "#00");
}

TEST(SipsColours, keepTheirProfileWhereTheFormatHoldsIt) {
    const TemporaryFolder folder;
    const std::string plain = (folder / "plain.png").path();
    const std::string wide = (folder / "wide.png").path();
    const std::string target = (folder / "target").path();
    drawGradient(plain, {"-depth", "8"});
    ASSERT_EQ(run({"icc_transform", plain, wide, "p3", "--input-profile", "srgb"}, {.program = "/usr/bin/vips"}).errors,
              "");
    draw({wide, "icc:" + target});
    const std::string profile = readFile(FileURL(target));
    ASSERT_GT(profile.size(), 128U);
    for (const std::string format : {"png", "jpeg", "tiff", "webp"}) {
        const std::string converted = (folder / ("kept." + format)).path();
        ASSERT_EQ(run({"-s", "format", format, "-Z", "32", wide, "--out", converted}).errors, "");
        draw({converted, "icc:" + target});
        EXPECT_EQ(readFile(FileURL(target)), profile) << format;
    }
    const std::string bmp = (folder / "wide.bmp").path();
    ASSERT_EQ(run({"-s", "format", "bmp", wide, "--out", bmp}).errors, "");
    EXPECT_LT(difference(decode(bmp), decode(plain)), 2);
}

TEST(SipsColours, keepTheirDepthAndBecomeScreenColoursWhereInksCannotBeHeld) {
    const TemporaryFolder folder;
    const std::string deep = (folder / "deep.png").path();
    drawGradient(deep, {"-depth", "16"});
    for (const auto& [format, depth] : std::vector<std::pair<std::string, std::string>>{
             {"png", "16"}, {"tiff", "16"}, {"jpeg", "8"}, {"webp", "8"}, {"bmp", "8"}, {"heic", "8"}}) {
        const std::string target = (folder / ("deep-target." + format)).path();
        ASSERT_EQ(run({"-Z", "100", deep, "--out", target}).errors, "");
        EXPECT_EQ(identify(target, "%z"), depth) << format;
    }

    const std::string inks = (folder / "inks.jpg").path();
    draw({"-size", "16x16", "xc:red", "-colorspace", "CMYK", "-quality", "100", inks});
    EXPECT_NE(run({"-g", "space", inks}).output.find("space: CMYK"), std::string::npos);
    const std::string screen = (folder / "inks.png").path();
    ASSERT_EQ(run({inks, "--out", screen}).errors, "");
    EXPECT_EQ(identify(screen, "%[colorspace]"), "sRGB");
    const Pixels pixels = decode(screen);
    EXPECT_GT(pixels.bytes[0], 200);
    EXPECT_LT(pixels.bytes[1], 80);
    const std::string stillInks = (folder / "small.jpg").path();
    ASSERT_EQ(run({"-Z", "8", inks, "--out", stillInks}).errors, "");
    EXPECT_EQ(identify(stillInks, "%[colorspace]"), "CMYK");
}

TEST(SipsFrames, areKeptBetweenFormatsThatHoldThem) {
    const TemporaryFolder folder;
    const std::string source = (folder / "three.gif").path();
    draw({"-delay", "20", "-size", "30x20", "xc:red", "xc:lime", "xc:blue", source});
    const std::string gif = (folder / "small.gif").path();
    ASSERT_EQ(run({"-Z", "15", "-r", "90", source, "--out", gif}).errors, "");
    EXPECT_EQ(identify(gif, "%wx%h %T;"), "10x15 20;10x15 20;10x15 20;");
    const std::string tiff = (folder / "pages.tiff").path();
    ASSERT_EQ(run({source, "--out", tiff}).errors, "");
    EXPECT_EQ(identify(tiff, "%wx%h;"), "30x20;30x20;30x20;");
    const std::string png = (folder / "first.png").path();
    ASSERT_EQ(run({source, "--out", png}).errors, "");
    EXPECT_EQ(identify(png, "%wx%h;"), "30x20;");
    EXPECT_EQ(decode(png).at(5, 5), kRed);
    EXPECT_NE(run({"-g", "pixelHeight", source}).output.find("pixelHeight: 20"), std::string::npos);
}

TEST(SipsQuality, changesTheSizeOfTheFile) {
    const TemporaryFolder folder;
    const std::string source = (folder / "noise.png").path();
    draw({"-size", "64x64", "plasma:red-blue", "-depth", "8", source});
    for (const std::string format : {"jpeg", "webp", "heic"}) {
        std::vector<std::uintmax_t> sizes;
        for (const std::string quality : {"10", "normal", "best"}) {
            const std::string target = (folder / ("target." + format)).path();
            ASSERT_EQ(run({"-s", "formatOptions", quality, source, "--out", target}).errors, "");
            sizes.push_back(std::filesystem::file_size(target));
        }
        EXPECT_TRUE(sizes[0] < sizes[1] && sizes[1] < sizes[2]) << format;
    }
}

/// The road that needs no libvips is the program alone, away from its module; a turn by no degrees takes the other
/// road.
TEST(SipsRoads, makeTheSamePixels) {
    const TemporaryFolder folder;
    RunSettings alone;
    alone.program = (folder / "alone/bin/sips").path();
    std::filesystem::create_directories((folder / "alone/bin").path());
    std::filesystem::copy_file(TORVO_BIN_DIR "/sips", alone.program);
    const std::string drawn = (folder / "drawn.png").path();
    const std::string wide = (folder / "wide.png").path();
    drawGradient(drawn, {"-depth", "8"});
    ASSERT_EQ(run({"icc_transform", drawn, wide, "p3", "--input-profile", "srgb"}, {.program = "/usr/bin/vips"}).errors,
              "");

    const Strings plasma{"-size", "61x37", "plasma:red-blue", "-depth", "8"};
    const Strings soft{"-size", "61x37", "radial-gradient:#FF0000FF-#0000FF00", "-depth", "8"};
    const std::vector<std::tuple<std::string, Strings, Strings>> rows{
        {"jpg", plasma, {"PNG24:"}},
        {"jpg", soft, {"PNG32:"}},
        {"jpg", plasma, {"-colorspace", "gray", "-define", "png:color-type=0", "png:"}},
        {"jpg", soft, {"-colorspace", "gray", "-define", "png:color-type=4", "png:"}},
        {"jpg", plasma, {"-colors", "16", "PNG8:"}},
        {"jpg", soft, {"-colors", "16", "-channel", "A", "-threshold", "50%", "PNG8:"}},
        {"jpg", plasma, {"-monochrome", "-define", "png:bit-depth=1", "png:"}},
        {"jpg", {"-size", "1x301", "plasma:"}, {"-depth", "8", "PNG24:"}},
        {"jpg", {"-size", "800x500", "plasma:"}, {"-depth", "8", "PNG24:"}},
        {"jpg", {wide}, {"PNG24:"}},
        {"png", plasma, {"-sampling-factor", "2x2", "jpeg:"}},
        {"png", plasma, {"-sampling-factor", "1x1", "-interlace", "JPEG", "jpeg:"}},
        {"png", plasma, {"-colorspace", "gray", "jpeg:"}},
        {"png", {"-size", "800x500", "plasma:"}, {"jpeg:"}},
    };
    bool isFine = false;
    for (const auto& [to, from, how] : rows) {
        const std::string source = (folder / "source").path();
        Strings arguments = from;
        arguments.insert(arguments.end(), how.begin(), how.end());
        arguments.back() += source;
        draw(arguments);
        const std::string quick = (folder / ("quick." + to)).path();
        const std::string full = (folder / ("full." + to)).path();
        // Colours are stored at half the resolution below a quality of 90.
        const std::string quality = std::exchange(isFine, !isFine) ? "95" : "60";
        const std::string label = ::testing::PrintToString(arguments) + " at " + quality;
        ASSERT_EQ(run({"-s", "formatOptions", quality, source, "--out", quick}, alone).errors, "") << label;
        ASSERT_EQ(run({"-r", "0", "-s", "formatOptions", quality, source, "--out", full}).errors, "") << label;
        EXPECT_EQ(difference(decode(quick), decode(full)), 0) << label;
        EXPECT_EQ(identify(quick, "%[icc:description] %[colorspace]"),
                  identify(full, "%[icc:description] %[colorspace]"));
    }
}

} // namespace
} // namespace torvo::testing
