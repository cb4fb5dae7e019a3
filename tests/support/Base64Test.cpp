#include "support/Base64.h"

#include <gtest/gtest.h>

#include <utility>

namespace torvo {
namespace {

TEST(Base64, EncodesAndDecodesTheVectorsOfTheStandard) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xFF\xFE\xFB", "//77"},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(base64Encoded(bytes), text);
        EXPECT_EQ(base64Decoded(text), bytes);
    }
    std::string every;
    for (int byte = 0; byte < 256; ++byte)
        every += static_cast<char>(byte);
    EXPECT_EQ(base64Decoded(base64Encoded(every)), every);
}

TEST(Base64, RefusesTextThatNoEncoderMakes) {
    for (const char* text :
         {"Z", "Zg", "Zg=", "Zg===", "Zh==", "Zm9v\n", " Zm9v", "Zm-v", "Zg==Zg==", "====", "Zm9vYmF"})
        EXPECT_FALSE(base64Decoded(text)) << text;
}

} // namespace
} // namespace torvo
