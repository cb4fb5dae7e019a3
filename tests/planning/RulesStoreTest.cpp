#include "planning/RulesStore.h"

#include "linux/SettingsFile.h"
#include "planning/LLMEndpoint.h"
#include "support/Json.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace torvo {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using Stored = std::map<std::string, DefaultsValue>;

class RulesStoreTest : public ::testing::Test {
  protected:
    TemporaryFolder m_folder;
    SettingsFile m_settings{m_folder / "settings.json", [](const std::string&) {}};
};

TEST_F(RulesStoreTest, FindsTheOldestRuleWhoseTriggerIsTheWholeInput) {
    const std::vector<Rule> rules{
        {{}, "  ", "blank"},      {{}, "Thumbs", " first "},     {{}, "thumbs", "second"},
        {{}, " web\n", "thumbs"}, {{}, "Caf\xC3\xA9", "coffee"},
    };
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"THUMBS", " first "},
        {"\t thumbs\r\n", " first "},
        {"thumbs please", std::nullopt},
        {"thumb", std::nullopt},
        {"web", "thumbs"},
        {"", std::nullopt},
        {" \n ", std::nullopt},
        {"cafe\xCC\x81", "coffee"},
    };
    for (const auto& [input, expansion] : rows)
        EXPECT_EQ(expansionFor(input, rules), expansion) << input;
}

TEST_F(RulesStoreTest, KeepsTrimmedRulesInTheSettingsAsJson) {
    RulesStore store(m_settings);
    EXPECT_TRUE(store.add("  Thumbs ", " make 300px thumbnails\n"));
    for (const auto& [trigger, expansion] : std::map<const char*, const char*>{{" \n", "x"}, {"x", "\t"}, {"", ""}})
        EXPECT_TRUE(store.add(trigger, expansion));
    ASSERT_THAT(store.rules(), SizeIs(1));
    const auto first = store.rules()[0];
    EXPECT_EQ(m_settings.getAs<DefaultsData>("rules")->bytes,
              R"([{"expansion":"make 300px thumbnails","id":")" + first.id.text() + R"(","trigger":"Thumbs"}])");

    // Another store's rule is neither lost nor unseen by later readers; the older rule wins until it is removed.
    EXPECT_TRUE(RulesStore(m_settings).add("THUMBS", "other"));
    EXPECT_TRUE(store.add("web", "1000px"));
    EXPECT_THAT(store.rules(), SizeIs(3));
    EXPECT_EQ(store.expansion("thumbs"), "make 300px thumbnails");
    EXPECT_TRUE(store.remove(first.id));
    EXPECT_TRUE(store.remove(UUID::random()));
    EXPECT_EQ(RulesStore(m_settings).expansion("thumbs"), "other");
    EXPECT_EQ(RulesStore(m_settings).rules().back().trigger, "web");
}

TEST_F(RulesStoreTest, ReadsAnythingButCompleteRulesAsNone) {
    const std::string good = R"({"id":"0f8fad5b-d9cb-469f-a165-70867728950e","trigger":"t","expansion":"e"})";
    const DefaultsValue rows[] = {
        DefaultsData{""},
        DefaultsData{"null"},
        DefaultsData{good},
        DefaultsData{"[" + good + ",{}]"},
        DefaultsData{"[" + good + R"(,{"id":"x","trigger":"t","expansion":"e"}])"},
        DefaultsData{R"([{"id":"0f8fad5b-d9cb-469f-a165-70867728950e","trigger":"t"}])"},
        DefaultsData{R"([{"id":"0f8fad5b-d9cb-469f-a165-70867728950e","trigger":1,"expansion":"e"}])"},
        DefaultsData{"[" + good + "]\xff"},
        "[" + good + "]",
        true,
    };
    for (const auto& stored : rows) {
        ASSERT_TRUE(m_settings.set("rules", stored));
        RulesStore store(m_settings);
        EXPECT_THAT(store.rules(), IsEmpty()) << &stored - rows;
        EXPECT_TRUE(store.add("a", "b"));
        EXPECT_THAT(RulesStore(m_settings).rules(), SizeIs(1));
    }
    // Unknown members are let pass, and the identifier may be in either case.
    ASSERT_TRUE(m_settings.set("rules", DefaultsData{"[" + good.substr(0, good.size() - 1) + R"(,"note":1}])"}));
    EXPECT_EQ(RulesStore(m_settings).expansion("t"), "e");
}

/// Settings that hold exactly these values.
struct Settings {
    explicit Settings(const Stored& values) {
        for (const auto& [key, value] : values)
            EXPECT_TRUE(file.set(key, value));
    }
    TemporaryFolder folder;
    SettingsFile file{folder / "settings.json"};
};

TEST(LLMEndpoint, ReadsWhatIsStoredAndKnowsWhenItIsComplete) {
    struct Row {
        Stored stored;
        LLMEndpoint endpoint;
        bool isConfigured;
    };
    const std::string local = "http://127.0.0.1:11434";
    const Row rows[] = {
        {{}, {local, ""}, false},
        {{{"llm.model", " m m "}}, {local, " m m "}, true},
        {{{"llm.model", " \t\n"}}, {local, " \t\n"}, false},
        {{{"llm.baseURL", " \n"}, {"llm.model", "m"}}, {" \n", "m"}, false},
        {{{"llm.baseURL", ""}, {"llm.model", "m"}}, {"", "m"}, false},
        {{{"llm.baseURL", true}, {"llm.model", std::int64_t{7}}}, {local, ""}, false},
    };
    for (const auto& row : rows) {
        Settings settings(row.stored);
        const auto endpoint = LLMEndpoint::current(settings.file);
        EXPECT_EQ(endpoint.baseURL, row.endpoint.baseURL);
        EXPECT_EQ(endpoint.model, row.endpoint.model);
        EXPECT_EQ(endpoint.isConfigured(), row.isConfigured) << &row - rows;
    }
    Settings settings({});
    EXPECT_TRUE(LLMEndpoint::setCurrent({"http://h", " m"}, settings.file));
    EXPECT_EQ(LLMEndpoint::current(settings.file), (LLMEndpoint{"http://h", " m"}));
}

TEST(LLMEndpoint, MovesOnlyAPreReleaseUserToTheOldEndpoint) {
    const std::pair<Stored, bool> rows[] = {
        {{}, false},
        {{{"onboardingShown", true}}, true},
        {{{"onboardingShown", false}}, true},
        {{{"onboardingShown", true}, {"llm.model", ""}}, false},
        {{{"onboardingShown", true}, {"llm.baseURL", std::int64_t{1}}}, false},
        {{{"rules", DefaultsData{"[]"}}}, false},
    };
    for (const auto& [stored, moves] : rows) {
        Settings settings(stored);
        LLMEndpoint::migratePreReleaseDefaultIfNeeded(settings.file);
        const auto endpoint = LLMEndpoint::current(settings.file);
        EXPECT_EQ(settings.file.all().size(), stored.size() + (moves ? 2 : 0));
        if (moves) {
            EXPECT_EQ(endpoint.model, "Qwen3.6-35B-A3B-UD-Q5_K_M.gguf");
            EXPECT_THAT(endpoint.baseURL, ::testing::MatchesRegex("http://[a-z.-]+:18080"));
        }
    }
}

} // namespace
} // namespace torvo
