#include "desktop/URLEvent.h"

#include <gtest/gtest.h>

#include <string>

namespace torvo {
namespace {

TEST(URLEvent, NamesTheFilesOfItsFirstFilesItem) {
    struct Row {
        const char* address;
        std::vector<std::string> paths;
    };
    const Row rows[] = {
        {"torvo:?files=/a%0A/b", {"/a", "/b"}},
        {"torvo://drop?files=%2Fa%20b%0a%0A/c%26d%3De%2B+f", {"/a b", "/c&d=e++f"}},
        {"TORVO://x/y?other=/z&files=/a#files=/b", {"/a"}},
        {"torvo:?files=/first&files=/second", {"/first"}},
        {"torvo:?fil%65s=/named", {"/named"}},
        {"torvo:?files=/a=b?c", {"/a=b?c"}},
        {"torvo:?files=/\xC3\xBC%C3%BC/%FF", {"/\xC3\xBC\xC3\xBC/\xFF"}},
        {"torvo:?files=/folder/", {"/folder"}},
        {"torvo:?files=relative%0A/nul%00%0A/kept", {"/kept"}},
        // These open the bar.
        {"torvo:", {}},
        {"torvo:?", {}},
        {"torvo:?files", {}},
        {"torvo:?files=", {}},
        {"torvo:?files&files=/second", {}},
        {"torvo:?files=%0A%0A", {}},
        {"torvo:?Files=/a", {}},
        {"torvo:files=/a", {}},
        {"torvo:#?files=/a", {}},
        {"torvo:?files=/a%2", {}},
        {"torvo:?files=/a&x=%zz", {}},
    };
    for (const auto& [address, paths] : rows) {
        const auto files = filesOfURL(address);
        EXPECT_EQ(files ? pathsOf(*files) : std::vector<std::string>{"another scheme"}, paths) << address;
    }
    for (const char* address : {"", "torvo", "torvox:?files=/a", "file:///a", ":?files=/a", "x?torvo:files=/a"})
        EXPECT_FALSE(filesOfURL(address).has_value()) << address;
}

} // namespace
} // namespace torvo
