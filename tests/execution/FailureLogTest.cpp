#include "execution/FailureLog.h"

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
    const auto countOf = [&log](const std::string& record) {
        int count = 0;
        for (std::size_t at = 0; (at = log.find(record, at)) != std::string::npos; at += record.size())
            ++count;
        return count;
    };
    std::size_t expectedSize = 0;
    for (const char letter : {'a', 'b', 'c'}) {
        const std::string output(300'000, letter);
        const std::string record =
            failureRecord({.command = "c", .status = 1, .standardOutput = output, .standardError = {}});
        EXPECT_EQ(countOf(record), 10) << letter;
        expectedSize += 10 * record.size();
    }
    EXPECT_EQ(log.size(), expectedSize);
}

TEST(FailureLog, StaysSilentWhenItCannotWrite) {
    const TemporaryFolder home;
    const FileURL file = home.file("taken", "x");
    logFailure(file, {.command = "c", .status = 1, .standardOutput = {}, .standardError = {}});
    EXPECT_EQ(readFile(file), "x");
}
