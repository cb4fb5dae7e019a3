#include "execution/OperationStore.h"
#include "support/FileURLText.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/Restricted.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <set>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::readFile;
using ::testing::StartsWith;

Operation sample(const std::string& title = "Converted") {
    return {UUID::random(),
            1234.5,
            title,
            Shell{"mv \"$1\" x", "Move", true, "printf x"},
            {FileURL("/f/a b.png"), FileURL("/f/\xFF%ü?#")},
            {FileURL("/f/a b.jpg")},
            {{FileURL("/f/1"), FileURL("/f/2")}},
            false};
}

TEST(FileURLText, HoldsAnyPath) {
    EXPECT_EQ(fileURLText(FileURL("/Users/a/My File.png")), "file:///Users/a/My%20File.png");
    for (const char* path : {"/", "/a;b?c#d%e", "/\xFF\x01\n", "/日本語/e\u0301", "/a\\b\"c"})
        EXPECT_EQ(parseFileURLText(fileURLText(FileURL(path))), FileURL(path)) << path;
    EXPECT_EQ(parseFileURLText("FILE://localhost/a%2Fb"), FileURL("/a/b"));
    for (const char* text : {"", "/a", "file:/a", "file://host/a", "file://", "file:///a%", "file:///a%2",
                             "file:///a%zz", "file:///a%+1", "file:///a%00", "file:///a?q", "https://a/b"})
        EXPECT_EQ(parseFileURLText(text), std::nullopt) << text;
}

TEST(Operation, CanBeUndoneWhileSomethingIsLeftToUndo) {
    struct Row {
        std::set<std::string> there;
        bool undone;
        bool canUndo;
    };
    const Row rows[] = {{{}, false, false},      {{"/f/a b.jpg"}, false, true},    {{"/f/a b.jpg"}, true, false},
                        {{"/f/2"}, false, true}, {{"/f/1", "/f/2"}, false, false}, {{"/f/1"}, false, false}};
    for (const auto& [there, undone, canUndo] : rows) {
        auto operation = sample();
        operation.undone = undone;
        EXPECT_EQ(operation.canUndo([&](const FileURL& url) { return there.contains(url.path()); }), canUndo);
    }
    auto operation = sample();
    EXPECT_EQ(operation.subtitle(), "Renamed 1 file");
    operation.renameMap.clear();
    EXPECT_EQ(operation.subtitle(), "Created 1 file");
    operation.outputs.clear();
    EXPECT_EQ(operation.subtitle(), "");
}

class OperationStoreTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::vector<std::string> names() const { return testing::namesIn((folder / "Torvo").path()); }

    testing::TemporaryFolder folder;
    testing::FakeSystemLog log;
    FileURL file = folder / "Torvo/activity.json";
    OperationStore store{file, log,
                         [] { return std::chrono::system_clock::time_point(std::chrono::milliseconds(5'999)); }};
};

TEST_F(OperationStoreTest, KeepsRecordsExactlyAndTheFirstHundredOnly) {
    EXPECT_THAT(store.load(), IsEmpty());
    std::vector<Operation> operations;
    for (int i = 0; i < 150; ++i)
        operations.push_back(sample("run " + std::to_string(i)));
    store.save(operations);
    operations.resize(100);
    EXPECT_EQ(store.load(), operations);
    EXPECT_THAT(readFile(file), StartsWith("[\n  {\n    \"action\": {\n"));
    struct stat status{};
    ASSERT_EQ(::stat(file.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    EXPECT_THAT(names(), ElementsAre("activity.json"));
    store.clear();
    store.clear();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());

    // A title that is no text is made one, rather than the whole list lost.
    store.save({sample("caf\xE9")});
    EXPECT_EQ(store.load().at(0).title, "caf\uFFFD");
}

TEST_F(OperationStoreTest, SetsAFileAsideThatItCannotRead) {
    const Json good = encode(sample());
    const auto with = [&](const char* key, const Json& value) {
        Json record = good;
        record[key] = value;
        return Json::array({good, record}).dump();
    };
    const auto without = [&](const char* key) {
        Json record = good;
        record.erase(key);
        return Json::array({record}).dump();
    };
    std::vector<std::string> bad{"",
                                 "{}",
                                 "null",
                                 "[",
                                 "[1]",
                                 Json::array({good}).dump().substr(0, 300),
                                 "\xEF\xBB\xBF[]",
                                 "[] []",
                                 std::string(300'000, '['),
                                 with("id", "no"),
                                 with("date", "1"),
                                 with("title", nullptr),
                                 with("undone", 0),
                                 with("inputs", Json::array({"/a"})),
                                 with("outputs", Json::object()),
                                 with("renameMap", Json::array({{{"from", "file:///a"}}})),
                                 with("action", {{"zipSelection", true}})};
    for (const char* key : {"action", "date", "id", "inputs", "outputs", "renameMap", "title", "undone"})
        bad.push_back(without(key));
    for (std::size_t i = 0; i < bad.size(); ++i) {
        (void)folder.file("Torvo/activity.json", bad[i]);
        EXPECT_THAT(store.load(), IsEmpty()) << bad[i].substr(0, 200);
        // Those that were set aside before stay.
        EXPECT_EQ(readFile(folder / ("Torvo/activity-corrupt-" + std::to_string(5 + i) + ".json")), bad[i]);
        EXPECT_FALSE(file.isOccupied());
        EXPECT_THAT(log.lines().back(), StartsWith("[Torvo] Quarantined unreadable activity log: "));
    }
    EXPECT_EQ(log.lines().size(), bad.size());
    (void)folder.file("Torvo/activity.json", "[");
    testing::runRestricted({.withoutSafeRename = true}, [&] { EXPECT_THAT(store.load(), IsEmpty()); });
    EXPECT_EQ(readFile(folder / ("Torvo/activity-corrupt-" + std::to_string(5 + bad.size()) + ".json")), "[");
    EXPECT_FALSE(file.isOccupied());
    (void)folder.file("Torvo/activity.json", Json::array({good}).dump());
    EXPECT_EQ(store.load().size(), 1U);
}

TEST_F(OperationStoreTest, WritesNoMoreThanItReads) {
    // One record is as large as the largest file: there is room for the others only.
    store.save({sample("new"), sample(std::string(std::size_t{64} << 20, 'x')), sample("old")});
    const auto loaded = store.load();
    ASSERT_EQ(loaded.size(), 2U);
    EXPECT_EQ(loaded[0].title, "new");
    EXPECT_EQ(loaded[1].title, "old");
    store.save({});
    EXPECT_EQ(readFile(file), "[]\n");
    EXPECT_THAT(names(), ElementsAre("activity.json")) << "nothing was set aside";
}

TEST_F(OperationStoreTest, LeavesTheOldListWhenTheNewOneCannotBeWritten) {
    store.save({sample("old")});
    // A folder has the temporary name: there is nowhere to write.
    (void)folder.file("Torvo/activity.json.new/in", "x");
    store.save({sample("new")});
    EXPECT_EQ(store.load().at(0).title, "old");
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("[Torvo] Could not save activity: ")));
    (void)folder.file("blocked", "a file where the folder should be");
    OperationStore(folder / "blocked/activity.json", log).save({sample()});
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(OperationStoreTest, DoesNotWaitForWhatIsNoFile) {
    (void)folder.folder("Torvo");
    ASSERT_EQ(::mkfifo(file.path().c_str(), 0600), 0);
    EXPECT_THAT(store.load(), IsEmpty());
    store.save({sample()});
    EXPECT_EQ(store.load().size(), 1U);
    store.clear();
    (void)folder.file("Torvo/activity.json/in", "x");
    EXPECT_THAT(store.load(), IsEmpty());
    store.save({sample()});
    EXPECT_EQ(log.lines().size(), 1U);
}

} // namespace
} // namespace torvo
