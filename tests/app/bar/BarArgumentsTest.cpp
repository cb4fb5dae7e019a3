#include "tests/support/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace torvo {
namespace {

using ::testing::HasSubstr;

TEST(BarArguments, AreAddressesOrRefusedInOneLine) {
    struct Row {
        std::vector<std::string> arguments;
        int status;
        const char* error;
    };
    // Where it would start, it says that it cannot.
    constexpr const char* starts = "torvo-bar: there is no X11 desktop here";
    const Row rows[] = {
        {{}, 1, starts},
        {{"torvo:?files=/a", "TORVO:"}, 1, starts},
        {{"-session", "10e9f1-torvo"}, 1, starts},
        {{"/a/b\n"}, 2, "torvo-bar: “/a/b\uFFFD” is no torvo: address; for a file there is torvo drop FILE\n"},
        {{"torvo:", "http://x"}, 2, "torvo-bar: “http://x” is no torvo: address"},
        {{""}, 2, "torvo-bar: “” is no torvo: address"},
        {{"--wrong"}, 2, "torvo-bar: “--wrong” is no option; see torvo-bar --help\n"},
    };
    for (const auto& [arguments, status, error] : rows) {
        const auto ran =
            testing::run(arguments, {.program = TORVO_BIN_DIR "/torvo-bar", .environment = {"DISPLAY=:none"}});
        EXPECT_EQ(ran.status, status) << ::testing::PrintToString(arguments);
        EXPECT_THAT(ran.errors, HasSubstr(error));
        EXPECT_EQ(ran.output, "");
    }
}

} // namespace
} // namespace torvo
