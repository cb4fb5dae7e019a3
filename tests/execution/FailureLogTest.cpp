#include "execution/FailureLog.h"

#include "execution/ErrorLine.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>
#include <vector>

using namespace torvo;
using namespace torvo::testing;

TEST(FailureLog, WritesRecordsOneAfterAnotherWordForWordForTheUserAlone) {
    const TemporaryFolder home;
    const FileURL support = home / "not yet/there";
    logFailure(support, {.command = "ls \"$1\"\nexit 2",
                         .status = 2,
                         .standardOutput = "out",
                         .standardError = "===== not a header =====\n"});
    logFailure(support, {.command = "nope", .status = -1, .standardOutput = {}, .standardError = {}});

    const FileURL log = support.appendingPath("Torvo/command-errors.log");
    EXPECT_EQ(readFile(log), "===== exit 2 =====\n$ ls \"$1\"\nexit 2\n--- stderr ---\n===== not a header =====\n"
                             "\n--- stdout ---\nout\n\n"
                             "===== exit -1 =====\n$ nope\n--- stderr ---\n\n--- stdout ---\n\n\n");
    struct stat status{};
    ASSERT_EQ(::stat(log.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(FailureLog, KeepsLongRecordsOfSeveralWritersApart) {
    const TemporaryFolder home;
    const auto write = [&home](char letter) {
        const std::string output(300'000, letter);
        for (int i = 0; i < 10; ++i)
            logFailure(home.url(), {.command = "c", .status = 1, .standardOutput = output, .standardError = {}});
    };
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c'})
        writers.emplace_back(write, letter);
    for (std::thread& writer : writers)
        writer.join();

    const std::string log = readFile(home / "Torvo/command-errors.log");
    const auto recordOf = [](char letter) {
        const std::string output(300'000, letter);
        return failureRecord({.command = "c", .status = 1, .standardOutput = output, .standardError = {}});
    };
    const std::size_t size = recordOf('a').size();
    ASSERT_EQ(log.size(), 30 * size);
    for (std::size_t at = 0; at < log.size(); at += size)
        EXPECT_TRUE(log.substr(at, size) == recordOf(log[at + size / 2])) << at;
}

TEST(FailureLog, StaysSilentWhenItCannotWrite) {
    const TemporaryFolder home;
    const FileURL file = home.file("taken", "x");
    logFailure(file, {.command = "c", .status = 1, .standardOutput = {}, .standardError = {}});
    EXPECT_EQ(readFile(file), "x");
}

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
