#include "execution/CommandLog.h"

#include "execution/HistoryStore.h"
#include "linux/SettingsFile.h"
#include "linux/ThreadQueue.h"
#include "support/Text.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <thread>

namespace torvo {
namespace {

using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::readFile;
using testing::TemporaryFolder;
using Texts = std::vector<std::string>;

constexpr const char* kKey = "commandLoggingEnabled";
const UUID kId = *UUID::parse("0F8FAD5B-D9CB-469F-A165-70867728950E");

/// A log with settings and a queue of its own.
struct Log {
    explicit Log(const FileURL& support, CommandLog::Clock clock = system_clock::now)
        : settings(support.appendingPath("settings.json"), [](const std::string&) {}),
          log(support.appendingPath("Torvo/command-log.jsonl"), settings, queue, std::move(clock)) {}

    void enable() { ASSERT_TRUE(settings.set(kKey, true)); }
    /// Waits until everything queued was written.
    void finish() {
        queue.sync([] {});
    }
    [[nodiscard]] bool clears() {
        bool isCleared = false;
        log.clear([&](const auto& cleared) { isCleared = cleared.has_value(); });
        finish();
        return isCleared;
    }
    [[nodiscard]] std::string content() {
        finish();
        return readFile(log.fileURL());
    }

    SettingsFile settings;
    ThreadQueue queue;
    CommandLog log;
};

TEST(CommandLog, WritesEachEventAsOneLineWithSortedMembers) {
    const TemporaryFolder support;
    Log log(support.url(), [] { return system_clock::time_point(std::chrono::milliseconds(1'709'164'799'007)); });
    log.enable();
    const FinderContext context{FileURL("/f"), {FileURL("/f/a b"), FileURL("/f/caf\xe9\xff")}};
    log.log.plan(kId, "intent-llm", "say \"hi\"\n/", context,
                 {{"endpoint", "http://h/"}, {"model", "m"}, {"tools", {"sips", "zip"}}});
    log.log.plan(kId, "preset", "zip", {}, {{"action", describe(ZipSelection{})}});
    log.log.response(kId, "{\"a\":1}\xff");
    log.log.response(kId, "");
    log.log.outcome(kId, "failed", "Cancelled");
    log.log.outcome(kId, "confirmed");
    log.log.outcome(kId, "noop", "");
    const std::string end = R"("id":"0F8FAD5B-D9CB-469F-A165-70867728950E",)";
    const std::string time = R"("ts":"2024-02-28T23:59:59.007Z"})"
                             "\n";
    EXPECT_EQ(log.content(),
              R"({"endpoint":"http://h/","event":"plan","folder":"/f",)" + end +
                  R"("input":"say \"hi\"\n/","model":"m","route":"intent-llm",)" +
                  "\"selection\":[\"/f/a b\",\"/f/caf\xEF\xBF\xBD\xEF\xBF\xBD\"],\"tools\":[\"sips\",\"zip\"]," + time +
                  R"({"action":{"kind":"zip-preset"},"event":"plan",)" + end +
                  R"("input":"zip","route":"preset","selection":[],)" + time + //
                  "{\"content\":\"{\\\"a\\\":1}\xEF\xBF\xBD\",\"event\":\"response\"," + end + time +
                  R"({"content":"","event":"response",)" + end + time + //
                  R"({"detail":"Cancelled","event":"outcome",)" + end + R"("outcome":"failed",)" + time +
                  R"({"event":"outcome",)" + end + R"("outcome":"confirmed",)" + time + //
                  R"({"event":"outcome",)" + end + R"("outcome":"noop",)" + time);
    struct stat status{};
    ASSERT_EQ(::stat(log.log.fileURL().path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U) << "what a user typed is nobody else's business";
}

TEST(CommandLog, DescribesEveryAction) {
    const std::pair<Action, const char*> rows[] = {
        {Select{{SelectionSpec::All{}}}, R"({"kind":"select-preset","spec":"all"})"},
        {Select{{SelectionSpec::None{}}}, R"({"kind":"select-preset","spec":"none"})"},
        {Select{{SelectionSpec::Extensions{{"png", "jpg"}}}}, R"({"kind":"select-preset","spec":"png jpg"})"},
        {ConvertImages{"heic"}, R"({"kind":"convert-preset","toExt":"heic"})"},
        {Shell{"c", "e", true, std::nullopt}, R"({"command":"c","destructive":true,"explanation":"e","kind":"run"})"},
        {Shell{"c", "e", false, ""},
         R"({"command":"c","destructive":false,"explanation":"e","kind":"run","preview":""})"},
        {SelectByCommand{"c", "e"}, R"({"command":"c","explanation":"e","kind":"select"})"},
    };
    for (const auto& [action, text] : rows)
        EXPECT_EQ(compactJson(describe(action)), text);
}

TEST(CommandLog, DecidesOnceWhetherItIsOn) {
    struct Row {
        std::optional<DefaultsValue> stored;
        bool logExists;
        bool isEnabled;
    };
    const Row rows[] = {
        {std::nullopt, false, false},
        {std::nullopt, true, true},
        {"true", false, false},
        {std::int64_t{1}, true, true},
        {false, true, false},
        {true, false, true},
        {std::vector<std::string>{}, true, true},
    };
    for (const auto& row : rows) {
        const TemporaryFolder support;
        if (row.logExists)
            (void)support.file("Torvo/command-log.jsonl", "old\n");
        Log log(support.url());
        if (row.stored) {
            ASSERT_TRUE(log.settings.set(kKey, *row.stored));
        }
        const auto index = &row - rows;
        EXPECT_EQ(log.log.isEnabled(), row.isEnabled) << index;
        EXPECT_EQ(log.settings.getAs<bool>(kKey), row.isEnabled) << index;
        // The decision stays when the log comes or goes.
        std::filesystem::remove(log.log.fileURL().path());
        EXPECT_EQ(log.log.isEnabled(), row.isEnabled) << index;
        log.log.outcome(kId, "noop");
        EXPECT_EQ(log.content().empty(), !row.isEnabled) << index;
        EXPECT_EQ((support / "Torvo").exists(), row.isEnabled || row.logExists) << index;
    }
}

TEST(CommandLog, KeepsTheOrderOfTheCallsAndClearsWhatWasQueued) {
    const TemporaryFolder support;
    Log log(support.url());
    EXPECT_TRUE(log.clears()) << "there is no log yet";
    log.log.outcome(kId, "dropped");
    log.enable();
    std::vector<std::string> expected;
    for (int i = 0; i < 200; ++i) {
        log.log.outcome(kId, std::to_string(i));
        expected.push_back(std::to_string(i));
    }
    std::vector<std::string> written;
    const auto content = log.content();
    for (const auto line : splitLines(content))
        written.push_back(parseJson(line)->at("outcome"));
    EXPECT_EQ(written, expected);
    log.log.outcome(kId, "last");
    EXPECT_TRUE(log.clears());
    EXPECT_FALSE(log.log.fileURL().isOccupied());
    log.finish();
    EXPECT_FALSE(log.log.fileURL().isOccupied());
}

TEST(CommandLog, KeepsTheLinesOfSeveralWritersWhole) {
    const TemporaryFolder support;
    constexpr int kLines = 200;
    {
        // As the bar and the command line are: each has the file open for itself.
        std::vector<std::unique_ptr<Log>> logs;
        std::vector<std::jthread> threads;
        for (const char* name : {"one", "two"}) {
            auto& log = *logs.emplace_back(std::make_unique<Log>(support.url()));
            log.enable();
            threads.emplace_back([&log, name] {
                for (int i = 0; i < kLines; ++i)
                    log.log.response(kId, name + std::string(20'000, *name));
            });
        }
        threads.clear();
    }
    std::map<std::string, int> counts;
    const auto written = readFile(support / "Torvo/command-log.jsonl");
    for (const auto line : splitLines(written)) {
        const auto record = parseJson(line);
        ASSERT_TRUE(record) << line.substr(0, 100);
        const std::string content = record->at("content");
        ASSERT_EQ(content.size(), 20'003U);
        ++counts[content.substr(0, 3)];
    }
    EXPECT_EQ(counts, (std::map<std::string, int>{{"one", kLines}, {"two", kLines}}));
}

TEST(CommandLog, IgnoresWhatItCannotWriteTo) {
    const TemporaryFolder support;
    Log log(support.url());
    log.enable();
    const auto write = [&] {
        log.log.outcome(kId, "noop");
        log.finish();
    };
    (void)support.file("Torvo", "in the way");
    write();
    EXPECT_EQ(readFile(support / "Torvo"), "in the way");
    std::filesystem::remove((support / "Torvo").path());

    (void)support.folder("Torvo/command-log.jsonl");
    write();
    std::filesystem::remove(log.log.fileURL().path());

    ASSERT_EQ(::mkfifo(log.log.fileURL().path().c_str(), 0600), 0);
    write();
    EXPECT_TRUE(log.clears());
    write();
    EXPECT_NE(readFile(log.log.fileURL()), "");
    log.finish();
}

TEST(HistoryStore, MovesACommandToTheFront) {
    const Texts before{"jpg", "zip", "select all png"};
    const std::pair<const char*, Texts> rows[] = {
        {"zip", {"zip", "jpg", "select all png"}},
        {" \tzip \r\n", {"zip", "jpg", "select all png"}},
        {"ZIP", {"ZIP", "jpg", "zip", "select all png"}},
        {"select  all png", {"select  all png", "jpg", "zip", "select all png"}},
        {"two\nlines", {"two\nlines", "jpg", "zip", "select all png"}},
        {" \n\t", before},
        {"", before},
    };
    for (const auto& [text, after] : rows)
        EXPECT_EQ(recorded(before, text), after) << text;
    // The two ways to write an accented letter are one text; duplicates that a hand left in go together.
    EXPECT_EQ(recorded({"x", "cafe\xCC\x81", "x"}, "caf\xC3\xA9"), (Texts{"caf\xC3\xA9", "x", "x"}));
    EXPECT_EQ(recorded({"x", "y", "x"}, "x"), (Texts{"x", "y"}));
}

TEST(HistoryStore, MirrorsEveryChangeToTheSettings) {
    const TemporaryFolder folder;
    SettingsFile settings(folder / "settings.json");
    HistoryStore history(settings);
    EXPECT_THAT(history.items(), IsEmpty());
    EXPECT_TRUE(history.record("  "));
    EXPECT_FALSE(settings.contains("commandHistory"));
    EXPECT_TRUE(history.record("jpg"));
    EXPECT_TRUE(history.record("zip "));
    EXPECT_THAT(HistoryStore(settings).items(), ElementsAre("zip", "jpg"));
    EXPECT_TRUE(settings.set("commandHistory", "no list"));
    EXPECT_THAT(HistoryStore(settings).items(), IsEmpty());
    // A list that another process stored is carried on; for anything else the list in memory stands.
    EXPECT_TRUE(history.record("zip"));
    EXPECT_THAT(HistoryStore(settings).items(), ElementsAre("zip", "jpg"));
    EXPECT_TRUE(HistoryStore(settings).record("png"));
    EXPECT_TRUE(history.record("zip"));
    EXPECT_THAT(HistoryStore(settings).items(), ElementsAre("zip", "png", "jpg"));
    // What another process cleared stays cleared.
    EXPECT_TRUE(settings.remove("commandHistory"));
    EXPECT_TRUE(history.record("heic"));
    EXPECT_THAT(HistoryStore(settings).items(), ElementsAre("heic"));
}

TEST(HistoryStore, RemembersInMemoryWhatCannotBeSaved) {
    const TemporaryFolder folder;
    SettingsFile settings(folder.file("taken").appendingPath("settings.json"), [](const std::string&) {});
    HistoryStore history(settings);
    EXPECT_FALSE(history.record("zip"));
    EXPECT_THAT(history.items(), ElementsAre("zip"));
}

} // namespace
} // namespace torvo
