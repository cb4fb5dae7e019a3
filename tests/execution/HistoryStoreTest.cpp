#include "execution/HistoryStore.h"

#include "linux/SettingsFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::TemporaryFolder;
using Texts = std::vector<std::string>;

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
