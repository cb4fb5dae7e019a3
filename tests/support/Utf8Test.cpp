#include "support/Utf8.h"

#include <gtest/gtest.h>
#include <unicode/utf8.h>

#include <random>
#include <string>

using namespace torvo;

namespace {

bool isValidForICU(const std::string& bytes) {
    const auto length = static_cast<int32_t>(bytes.size());
    for (int32_t at = 0; at < length;) {
        UChar32 character = 0;
        U8_NEXT(bytes.data(), at, length, character);
        if (character < 0)
            return false;
    }
    return true;
}

} // namespace

TEST(Utf8, AgreesWithICUOnEveryPairAndOnRandomSequences) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(isValidUTF8(pair), isValidForICU(pair)) << first << ' ' << second;
        }
    // Bytes at the edges of every range, so that long sequences are often nearly right.
    const std::string edges =
        "a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    std::mt19937 random(1);
    int valid = 0;
    for (int i = 0; i < 500'000; ++i) {
        std::string bytes;
        for (std::size_t length = random() % 6; bytes.size() < length;)
            bytes += edges[random() % edges.size()];
        ASSERT_EQ(isValidUTF8(bytes), isValidForICU(bytes)) << ::testing::PrintToString(bytes);
        valid += static_cast<int>(isValidUTF8(bytes));
    }
    EXPECT_GT(valid, 1000);
}

TEST(Utf8, FindsOneBadByteAnywhereInLongAsciiText) {
    for (std::size_t length = 1; length < 200; ++length) {
        std::string text(length, 'x');
        ASSERT_TRUE(isValidUTF8(text));
        for (std::size_t at = 0; at < length; ++at) {
            text[at] = '\xFF';
            ASSERT_FALSE(isValidUTF8(text)) << length << ' ' << at;
            text[at] = 'x';
        }
    }
}
