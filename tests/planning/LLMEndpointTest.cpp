#include "planning/LLMEndpoint.h"

#include "linux/SettingsFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::StartsWith;
using testing::TemporaryFolder;
using Stored = std::map<std::string, DefaultsValue>;

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
