#include "support/Text.h"

#include "support/Base64.h"
#include "support/FileURL.h"
#include "support/UUID.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace torvo {
namespace {

TEST(Text, TrimsWhatItSaysAndNothingElse) {
    const std::string text = "\t \u00A0\u3000x y\u2003\n";
    EXPECT_EQ(trimmed(text, TextTrim::spaces), "x y\u2003\n");
    EXPECT_EQ(trimmed(text, TextTrim::spacesAndLineBreaks), "x y");
    EXPECT_EQ(trimmed("\u0085\u2028\u2029\r\n\v\fa\u0085", TextTrim::spacesAndLineBreaks), "a");
    EXPECT_EQ(trimmed("\u200B\xA0", TextTrim::spacesAndLineBreaks), "\u200B\xA0") << "a lone byte A0 is no space";
    EXPECT_EQ(trimmed(" \n ", TextTrim::spacesAndLineBreaks), "");
}

TEST(Text, SplitsLinesAtEveryLineBreak) {
    using Lines = std::vector<std::string_view>;
    EXPECT_EQ(splitLines("a\r\nb\vc\fd\u0085e\u2028f\u2029\n\ng"), (Lines{"a", "b", "c", "d", "e", "f", "g"}));
    EXPECT_EQ(splitLines("\n\n"), Lines{});
    EXPECT_EQ(splitLines("a\xE2\x80\nb"), (Lines{"a\xE2\x80", "b"})) << "a cut-off character hides no line break";
}

TEST(Text, LowersWellFormedTextAndKeepsOtherBytes) {
    EXPECT_EQ(lowercased("\u00C9\xFF\xC3Z\u0130"), "\u00E9\xFF\xC3zi\u0307");
    EXPECT_EQ(uppercased("stra\u00DFe"), "STRASSE");
    EXPECT_EQ(printable("a\xFF\n\xE2\x82z"), "a\uFFFD\n\uFFFDz");
    EXPECT_EQ(printableLine("a\x1B[2J\n\u2028b\u0085"), "a\uFFFD[2J\uFFFD\uFFFDb\uFFFD");
    EXPECT_EQ(printableLine("safe\u202Egnp.exe\u200B\u2069"), "safe\uFFFDgnp.exe\uFFFD\uFFFD");
    EXPECT_EQ(printableLine("a\u2060b\u00ADc\u3164d\U000E0041"), "a\uFFFDb\uFFFDc\uFFFDd\uFFFD");
    EXPECT_EQ(printableLine("می\u200Cخواهم ❤\uFE0F 👩\u200D🚀"), "می\u200Cخواهم ❤\uFE0F 👩\u200D🚀");
}

TEST(FileURL, TakesPathsApartAsBytes) {
    struct Row {
        const char* path;
        const char* name;
        const char* extension;
        const char* stem;
        const char* folder;
    };
    const Row rows[] = {
        {"/a/b.tar.gz", "b.tar.gz", "gz", "/a/b.tar", "/a"},
        {"/a/.png", ".png", "", "/a/.png", "/a"},
        {"/a/b.", "b.", "", "/a/b.", "/a"},
        {"/a.d/b", "b", "", "/a.d/b", "/a.d"},
        {"/a/b/", "b", "", "/a/b", "/a"},
        {"/b", "b", "", "/b", "/"},
        {"/", "/", "", "/", "/"},
        {"/\xFF.J\xFE", "\xFF.J\xFE", "J\xFE", "/\xFF", "/"},
    };
    for (const auto& row : rows) {
        const FileURL url(row.path);
        EXPECT_EQ(url.lastPathComponent(), row.name) << row.path;
        EXPECT_EQ(url.pathExtension(), row.extension) << row.path;
        EXPECT_EQ(url.deletingPathExtension().path(), row.stem) << row.path;
        EXPECT_EQ(url.deletingLastPathComponent().path(), row.folder) << row.path;
    }
    EXPECT_EQ(FileURL("/a/./b//../c/..").standardized().path(), "/a");
    EXPECT_EQ(FileURL("/../..").standardized().path(), "/");
    EXPECT_EQ(resolvingPath("b c", FileURL("/")).path(), "/b c");
    EXPECT_EQ(resolvingPath("/x", FileURL("/a")).path(), "/x");
    EXPECT_FALSE(FileURL(std::string("/tmp\0x", 6)).exists()) << "a NUL byte must not cut the path short";
}

TEST(UUID, ReadsAndWritesTheCanonicalForm) {
    std::set<std::string> seen;
    for (int i = 0; i < 50; ++i) {
        const auto text = UUID::random().text();
        EXPECT_EQ(text.size(), 36U);
        EXPECT_EQ(text[14], '4');
        EXPECT_TRUE(seen.insert(text).second);
        EXPECT_EQ(UUID::parse(text)->text(), text);
    }
    EXPECT_EQ(UUID::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f")->text(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    for (const char* text : {"", "E621E1F8-C36C-495A-93FC-0C247A3E6E5", "E621E1F8-C36C-495A-93FC-0C247A3E6E5G",
                             "E621E1F8C36C-495A-93FC-0C247A3E6E5F--", "{621E1F8-C36C-495A-93FC-0C247A3E6E5F"})
        EXPECT_FALSE(UUID::parse(text)) << text;
}

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
