#include "execution/CapturedOutput.h"

#include "tests/support/Memory.h"

#include <gtest/gtest.h>

#include <string>

using namespace torvo;
using namespace torvo::testing;

TEST(CapturedOutput, KeepsEveryByteThroughEverySizeAtWhichItsMemoryMoves) {
    CapturedOutput output;
    std::string expected;
    // Odd lengths, so that pieces straddle pages, up to well past the change to huge pages.
    for (std::size_t i = 0; expected.size() < (std::size_t{70} << 20); ++i) {
        const std::string piece(i * 1237 % 600'011 + 1, static_cast<char>('a' + i % 26));
        ASSERT_TRUE(output.buffer().append(piece));
        expected += piece;
    }
    EXPECT_TRUE(output.bytes() == expected);
    const CapturedOutput moved = std::move(output);
    EXPECT_TRUE(moved.text() == expected);
}

TEST(CapturedOutput, HasNoTextWhenItsBytesAreNotUTF8) {
    EXPECT_EQ(CapturedOutput("caf\u00E9").text(), "caf\u00E9");
    const CapturedOutput output("caf\xE9");
    EXPECT_EQ(output.text(), "");
    EXPECT_EQ(output.bytes(), "caf\xE9");
}

TEST(CapturedOutput, TakesAtMostAFifthMoreMemoryThanItsBytes) {
    if (!kMemoryIsOurOwn)
        GTEST_SKIP() << "a sanitizer uses memory too";
    for (const std::size_t megabytes : {1, 5, 15, 17, 40, 130}) {
        const std::size_t size = megabytes << 20;
        const std::string piece(65536, 'x');
        const std::size_t before = residentBytes();
        CapturedOutput output;
        while (output.bytes().size() < size)
            ASSERT_TRUE(output.buffer().append(piece));
        EXPECT_LE(residentBytes() - before, size + size / 5) << megabytes << " MB";
    }
}

TEST(CapturedOutput, ReportsThatThereIsNoMemoryAndKeepsWhatItHas) {
    if (!kMemoryIsOurOwn)
        GTEST_SKIP() << "a sanitizer uses memory too";
    CapturedOutput output("kept");
    {
        const MemoryLimit limit(std::size_t{64} << 20);
        EXPECT_TRUE(output.buffer().prepare(std::size_t{500} << 20).empty());
    }
    EXPECT_TRUE(output.buffer().prepare(~std::size_t{0}).empty());
    EXPECT_EQ(output.bytes(), "kept");
    EXPECT_TRUE(output.buffer().append(", and more"));
    EXPECT_EQ(output.bytes(), "kept, and more");
}
