#include "execution/ErrorLine.h"

#include <gtest/gtest.h>

using namespace torvo;

TEST(ErrorLine, PicksTheLineThatExplainsTheFailure) {
    struct Row {
        std::string_view standardOutput;
        std::string_view standardError;
        std::string_view expected;
    };
    const Row rows[] = {
        {"", "warning: slow\ncp: x: No such file or directory\nbye\n", "cp: x: No such file or directory"},
        {"", "cannot open a\ncannot open b\nerror: gave up", "cannot open b"},
        {"", "one\nAn Error occurred\nlast", "An Error occurred"},
        {"", "one\n  \t two \t\n\n", "two"},
        {"", "\n \n\t\n", "exit code 7"},
        {"", "", "exit code 7"},
        {"file not found", "just a note", "just a note"},
        {"file not found\nbye", "", "file not found"},
        {"says something", "\n", "exit code 7"},
        {"", "PERMISSION DENIED\nend", "PERMISSION DENIED"},
        {"", "UNRECOGNIZED option\rdone", "UNRECOGNIZED option"},
        {"", "no\nsuch", "such"},
        {"", "a\vInvalid b\fc", "Invalid b"},
        {"", "x\u0085does not exist\u2028y\u2029z", "does not exist"},
        {"", "\u00A0\u3000 already exists\u2009\u202F", "already exists"},
        {"", "\u200Bkept\u200B", "\u200Bkept\u200B"},
        {"", "first\r\nNo space left\r\nlast\r\n", "No space left"},
        {"", "unable\ncould not\n", "could not"},
        {"", "\u30A8\u30E9\u30FC", "\u30A8\u30E9\u30FC"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(errorLine(row.standardOutput, row.standardError, 7), row.expected) << row.standardError;
    EXPECT_EQ(errorLine("", "", -1), "exit code -1");

    // A flood without a line break is still searched whole, but told in a few words.
    std::string flood = "\u00E9";
    while (flood.size() < 1'000'000)
        flood += flood;
    const auto told = errorLine("", "cannot " + flood + " INVALID\nlast", 7);
    EXPECT_TRUE(told.starts_with("cannot \u00E9\u00E9") && told.ends_with("\u00E9…")) << told.size();
    EXPECT_LE(told.size(), 2010U);
    EXPECT_EQ(errorLine("", std::string(2000, 'x'), 7).size(), 2000U);
}
