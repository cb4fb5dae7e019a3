#include "linux/SettingsBeside.h"

#include "linux/SettingsFile.h"
#include "linux/ThreadQueue.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using Texts = std::vector<std::string>;

/// Appends to a list.
UserDefaults::Change adding(const std::string& text) {
    return [text](const std::optional<DefaultsValue>& old) {
        auto list = old ? std::get<Texts>(*old) : Texts{};
        list.push_back(text);
        return DefaultsValue(list);
    };
}

class SettingsBesideTest : public ::testing::Test {
  protected:
    SettingsBesideTest() { queue.isHeld = true; }

    testing::TemporaryFolder folder;
    SettingsFile file{folder / "settings.json", [](const std::string&) {}};
    testing::ManualDispatcher dispatcher;
    testing::ManualQueue queue;
    SettingsBeside settings{file, queue, dispatcher};
};

TEST_F(SettingsBesideTest, AChangeIsSeenAtOnceAndWrittenBeside) {
    ASSERT_TRUE(file.set("old", "text"));
    const auto before = testing::readFile(folder / "settings.json");
    ASSERT_TRUE(settings.set("new", std::int64_t{1}));
    ASSERT_TRUE(settings.remove("old"));
    ASSERT_TRUE(settings.update("list", adding("a")));
    ASSERT_TRUE(settings.update("list", adding("b")));
    const std::map<std::string, DefaultsValue> changed{{"new", std::int64_t{1}}, {"list", Texts{"a", "b"}}};
    EXPECT_EQ(settings.all(), changed);
    EXPECT_EQ(settings.getAs<Texts>("list"), (Texts{"a", "b"}));
    EXPECT_FALSE(settings.get("old") || settings.contains("old"));
    EXPECT_TRUE(settings.contains("new"));
    EXPECT_EQ(testing::readFile(folder / "settings.json"), before);

    queue.run();
    EXPECT_EQ(SettingsFile(folder / "settings.json").all(), changed);
    EXPECT_EQ(settings.all(), changed);
}

TEST_F(SettingsBesideTest, WhatAnotherProgramWritesMeanwhileStays) {
    SettingsFile other(folder / "settings.json");
    ASSERT_TRUE(settings.update("list", adding("ours")));
    ASSERT_TRUE(settings.set("mine", true));
    ASSERT_TRUE(other.update("list", adding("theirs")));
    ASSERT_TRUE(other.set("mine", false));
    ASSERT_TRUE(other.set("another", "value"));
    EXPECT_EQ(settings.getAs<std::string>("another"), "value");
    queue.run();
    EXPECT_EQ(settings.getAs<Texts>("list"), (Texts{"theirs", "ours"}));
    EXPECT_EQ(settings.getAs<bool>("mine"), true) << "the last to write wins";
    ASSERT_TRUE(other.set("mine", false));
    EXPECT_EQ(settings.getAs<bool>("mine"), false);
}

TEST_F(SettingsBesideTest, AChangeThatCannotBeWrittenIsTakenBackAndTold) {
    std::vector<std::string> told;
    const auto subscription = settings.observeFailures(
        [&](const std::string& key, const std::string& error) { told.push_back(key + error); });
    ASSERT_TRUE(file.set("key", "stored"));
    const auto path = (folder / "settings.json").path();
    std::filesystem::rename(path, path + ".aside");
    std::filesystem::create_directory(path);
    ASSERT_TRUE(settings.set("key", "lost"));
    queue.run();
    EXPECT_THAT(told, ElementsAre()) << "listeners are for the main thread";
    dispatcher.runPending();
    EXPECT_THAT(told, ElementsAre(::testing::StartsWith("keyCould not save the settings: ")));
    std::filesystem::remove(path);
    std::filesystem::rename(path + ".aside", path);
    EXPECT_EQ(settings.getAs<std::string>("key"), "stored");
    ASSERT_TRUE(settings.set("key", "next"));
    queue.run();
    EXPECT_EQ(file.getAs<std::string>("key"), "next");
}

TEST(SettingsBeside, ThreadsLoseNothingAndTheEndWaitsForTheDisk) {
    const testing::TemporaryFolder folder;
    SettingsFile file(folder / "settings.json");
    testing::ManualDispatcher dispatcher;
    ThreadQueue queue;
    {
        SettingsBeside settings(file, queue, dispatcher);
        std::vector<std::jthread> threads;
        for (const char* name : {"a", "b", "c"}) {
            threads.emplace_back([&settings, name] {
                for (std::size_t i = 0; i < 30; ++i) {
                    EXPECT_TRUE(settings.update("shared", adding(name)));
                    EXPECT_TRUE(settings.update(name, adding(name)));
                    EXPECT_EQ(settings.getAs<Texts>(name)->size(), i + 1);
                }
            });
        }
    }
    EXPECT_EQ(file.getAs<Texts>("shared")->size(), 90U);
    for (const char* name : {"a", "b", "c"})
        EXPECT_EQ(file.getAs<Texts>(name)->size(), 30U);
}

} // namespace
} // namespace torvo
