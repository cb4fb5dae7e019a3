#include "sips/Arguments.h"
#include "sips/Converter.h"
#include "sips/Printable.h"

#include <gtest/gtest.h>

namespace torvo::sips {
namespace {

std::expected<Request, std::string> parsed(const std::vector<std::string>& arguments) {
    return parseArguments(arguments);
}

Job job(const std::vector<std::string>& arguments) {
    const auto request = parsed(arguments);
    EXPECT_TRUE(request) << request.error();
    return request ? std::get<Job>(*request) : Job{};
}

TEST(SipsArguments, keepTheOperationsInTheOrderGiven) {
    const Job withLongNames = job({"in.png", "--resampleHeightWidthMax", "1000", "--rotate", "-90", "--flip",
                                   "vertical", "--cropToHeightWidth", "20", "30", "--resampleHeightWidth", "5", "6",
                                   "--resampleWidth", "7", "--resampleHeight", "8", "--out", "out.png"});
    const std::vector<Operation> expected{FitLongestSide{1000}, Rotate{-90},         Flip{Flip::Axis::vertical},
                                          CropCentre{20, 30},   ResizeExactly{5, 6}, ResizeToWidth{7},
                                          ResizeToHeight{8}};
    EXPECT_EQ(withLongNames.operations, expected);
    const Job withShortNames = job({"-Z", "1000", "-r", "-90", "-f", "vertical", "-c", "20", "30", "-z", "5", "6",
                                    "--resampleWidth", "7", "--resampleHeight", "8", "in.png", "-o", "out.png"});
    EXPECT_EQ(withShortNames.operations, expected);
    EXPECT_EQ(withShortNames.inputs, std::vector<std::string>{"in.png"});
    EXPECT_EQ(withShortNames.output, "out.png");
}

TEST(SipsArguments, takeEveryNameThatAFormatGoesBy) {
    for (const auto& [name, format] : std::vector<std::pair<std::string, Format>>{{"png", Format::png},
                                                                                  {"jpeg", Format::jpeg},
                                                                                  {"jpg", Format::jpeg},
                                                                                  {"tiff", Format::tiff},
                                                                                  {"tif", Format::tiff},
                                                                                  {"gif", Format::gif},
                                                                                  {"bmp", Format::bmp},
                                                                                  {"heic", Format::heic},
                                                                                  {"heif", Format::heic},
                                                                                  {"WEBP", Format::webp}})
        EXPECT_EQ(job({"-s", "format", name, "a", "--out", "b"}).format, format) << name;
}

TEST(SipsArguments, takeQualityAsAWordOrANumber) {
    for (const auto& [text, quality] :
         std::vector<std::pair<std::string, int>>{{"low", 40}, {"best", 100}, {"0", 0}, {"63", 63}, {"80%", 80}})
        EXPECT_EQ(job({"-s", "formatOptions", text, "a"}).quality, quality) << text;
}

TEST(SipsArguments, areRefusedWithOneLineThatNamesTheFault) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
        {{}, "no picture"},
        {{"-Z", "10"}, "no picture"},
        {{"a.png"}, "nothing to do"},
        {{"-Z"}, "-Z needs a value"},
        {{"a.png", "-c", "10"}, "-c needs two values"},
        {{"-Z", "0", "a.png"}, "'0' is not a number of pixels"},
        {{"-Z", "-5", "a.png"}, "'-5' is not a number of pixels"},
        {{"-Z", "10px", "a.png"}, "'10px' is not"},
        {{"-z", "10", "99999999999", "a.png"}, "'99999999999' is not"},
        {{"-r", "1.5", "a.png"}, "not a whole number of degrees"},
        {{"-f", "sideways", "a.png"}, "neither horizontal nor vertical"},
        {{"-s", "format", "xcf", "a.png"}, "unknown format 'xcf'"},
        {{"-s", "dpiWidth", "72", "a.png"}, "cannot set 'dpiWidth'"},
        {{"-s", "formatOptions", "101", "a.png"}, "'101' is not a quality"},
        {{"-g", "weight", "a.png"}, "unknown property 'weight'"},
        {{"--out", "", "a.png"}, "empty"},
        {{"--frobnicate", "a.png"}, "unknown option '--frobnicate'"},
    };
    for (const auto& [arguments, fault] : rows) {
        const auto request = parsed(arguments);
        ASSERT_FALSE(request) << fault;
        EXPECT_NE(request.error().find(fault), std::string::npos) << request.error();
        EXPECT_EQ(request.error().find('\n'), std::string::npos);
    }
}

TEST(SipsTarget, takesItsFormatFromTheOptionThenFromTheNameThenFromTheSource) {
    Job job{.output = "small.webp"};
    EXPECT_EQ(targetFormat(job, false, Format::png), Format::webp);
    EXPECT_EQ(targetFormat(job, true, Format::png), Format::png);
    job.output = "small.copy";
    EXPECT_EQ(targetFormat(job, false, Format::gif), Format::gif);
    job.format = Format::bmp;
    EXPECT_EQ(targetFormat(job, false, Format::gif), Format::bmp);
}

TEST(SipsTarget, isNamedAfterTheSourceInAFolder) {
    const Job job{.output = "out"};
    EXPECT_EQ(targetPath(job, true, "/p/a.b.png", Format::jpeg), "out/a.b.jpg");
    EXPECT_EQ(targetPath(job, true, "/p/a.JPEG", Format::jpeg), "out/a.JPEG");
    EXPECT_EQ(targetPath(job, true, "/p.q/.hidden", Format::png), "out/.hidden.png");
    EXPECT_EQ(targetPath(job, false, "/p/a.png", Format::jpeg), "out");
    EXPECT_EQ(targetPath(Job{}, false, "/p/a.png", Format::jpeg), "/p/a.png");
}

TEST(SipsPrintable, showsOddBytesOnOneLine) {
    EXPECT_EQ(printable("a\nb\x1b"), "a\\x0Ab\\x1B");
    EXPECT_EQ(printable("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"), "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(printable("caf\xE9"), "caf\\xE9");
    EXPECT_EQ(printable("\xC0\xAF\xED\xA0\x80\xC2\x9B"), "\\xC0\\xAF\\xED\\xA0\\x80\\xC2\\x9B");
}

} // namespace
} // namespace torvo::sips
