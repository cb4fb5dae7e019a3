#include "linux/SettingsFile.h"

#include "support/Descriptor.h"
#include "tests/support/Program.h"
#include "tests/support/Restricted.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::readFile;
using ::testing::StartsWith;
using testing::statusOf;
using testing::TemporaryFolder;
using Texts = std::vector<std::string>;

/// Settings in a folder of their own, and what they report.
class SettingsFileTest : public ::testing::Test {
  protected:
    [[nodiscard]] SettingsFile settings() {
        return SettingsFile(m_location, [this](const std::string& line) { m_reports.push_back(line); });
    }
    [[nodiscard]] static Texts filesBeside(const FileURL& file) {
        return testing::namesIn(file.deletingLastPathComponent().path());
    }

    TemporaryFolder m_folder;
    FileURL m_location = m_folder / "torvo/settings.json";
    Texts m_reports;
};

/// Runs `work` in a child process and returns its process number.
pid_t inChild(const std::function<void()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    return child;
}

TEST_F(SettingsFileTest, KeepsEveryValueWithItsType) {
    const std::map<std::string, DefaultsValue> values = {
        {"boolean", true},
        {"number", std::int64_t{1}},
        {"smallest", std::numeric_limits<std::int64_t>::min()},
        {"whole double", 2.0},
        {"double", 0.1},
        {"text", std::string("caf\u00e9 \U0001F4C1 \"quoted\"\n\t\\ \0 end", 28)},
        {"empty text", std::string()},
        {"data", DefaultsData{std::string("\0\xFF\x80 raw", 7)}},
        {"no data", DefaultsData{}},
        {"texts", Texts{"newest", "", "oldest"}},
        {"no texts", Texts{}},
        {"llm.baseURL", std::string("http://127.0.0.1:11434")},
    };
    for (const auto& [key, value] : values)
        ASSERT_TRUE(settings().set(key, value)) << key;
    SettingsFile again = settings();
    EXPECT_EQ(again.all(), values);
    EXPECT_EQ(again.get("double"), values.at("double"));
    EXPECT_FALSE(again.getAs<bool>("number"));
    EXPECT_FALSE(again.get("absent"));
    ASSERT_TRUE(again.remove("text"));
    ASSERT_TRUE(again.remove("absent"));
    EXPECT_FALSE(settings().contains("text"));
    EXPECT_THAT(m_reports, ElementsAre());
}

TEST_F(SettingsFileTest, IsForTheUserAlone) {
    ASSERT_TRUE(settings().set("a", true));
    struct stat status{};
    ASSERT_EQ(::stat(m_location.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat(m_location.deletingLastPathComponent().path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_THAT(filesBeside(m_location), ElementsAre("settings.json", "settings.json.lock"));
}

TEST_F(SettingsFileTest, RefusesWhatTheFileCannotHold) {
    SettingsFile file = settings();
    ASSERT_TRUE(file.set("kept", std::string("value")));
    const std::string before = readFile(m_location);
    EXPECT_THAT(file.set("text", std::string("\xFF")).error(), HasSubstr("not UTF-8"));
    EXPECT_THAT(file.set("texts", Texts{"fine", "\xC3"}).error(), HasSubstr("not UTF-8"));
    EXPECT_THAT(file.set("\xFF", true).error(), HasSubstr("not UTF-8"));
    EXPECT_THAT(file.set("number", std::numeric_limits<double>::infinity()).error(), HasSubstr("not finite"));
    EXPECT_EQ(readFile(m_location), before);
    EXPECT_EQ(file.all().size(), 1u);
}

TEST_F(SettingsFileTest, SeesWhatOthersWrite) {
    SettingsFile reader = settings();
    SettingsFile writer = settings();
    // Same length, same inode or a recycled one, within one tick of the clock: only the content tells them apart.
    for (std::int64_t i = 100; i < 400; ++i) {
        ASSERT_TRUE(writer.set("number", i));
        ASSERT_EQ(reader.getAs<std::int64_t>("number"), i);
    }
    m_folder.file("torvo/settings.json", R"({"number": 7})");
    EXPECT_EQ(reader.getAs<std::int64_t>("number"), 7);
    std::filesystem::remove(m_location.path());
    EXPECT_FALSE(reader.contains("number"));
}

TEST_F(SettingsFileTest, PreservesValuesItDoesNotKnow) {
    m_folder.file("torvo/settings.json",
                  R"({"object": {"a": [1]}, "null": null, "mixed": ["a", 1], "huge": 18446744073709551615,
                      "bad data": {"data": "?"}, "known": "x"})");
    SettingsFile file = settings();
    for (const char* key : {"object", "null", "mixed", "huge", "bad data"}) {
        EXPECT_FALSE(file.get(key)) << key;
        EXPECT_TRUE(file.contains(key)) << key;
    }
    ASSERT_TRUE(file.set("known", std::string("y")));
    EXPECT_EQ(nlohmann::json::parse(readFile(m_location)), nlohmann::json::parse(R"(
        {"object": {"a": [1]}, "null": null, "mixed": ["a", 1], "huge": 18446744073709551615,
         "bad data": {"data": "?"}, "known": "y"})"));
}

TEST_F(SettingsFileTest, KeepsAFileThatIsNoSettingsFileUnderAnotherName) {
    const std::string contents[] = {
        "",
        "{\"a\": 1",
        "[1, 2]",
        "\"text\"",
        "{} {}",
        "\xEF\xBB\xBF{}",
        "{\"a\": \"\xFF\"}",
        "{\"a\": " + std::string(100'000, '[') + std::string(100'000, ']') + "}",
        std::string(1000, '\0'),
    };
    for (const std::string& content : contents) {
        m_reports.clear();
        const FileURL broken = m_folder.file("torvo/settings.json", content);
        SettingsFile file = settings();
        EXPECT_FALSE(file.get("a"));
        EXPECT_FALSE(file.contains("a"));
        EXPECT_THAT(m_reports, ElementsAre(StartsWith("[Torvo] Could not read the settings"))) << content.substr(0, 20);
        EXPECT_EQ(readFile(broken), content) << "reading leaves it where it is";
        ASSERT_TRUE(file.set("a", true));
        ASSERT_EQ(m_reports.size(), 2u);
        const std::string line = m_reports[1];
        EXPECT_EQ(readFile(FileURL(line.substr(line.find('/')))), content);
        EXPECT_EQ(settings().getAs<bool>("a"), true);
    }
    EXPECT_EQ(filesBeside(m_location).size(), std::size(contents) + 2) << "each is kept, none replaced another";
}

TEST_F(SettingsFileTest, WritesThroughASymbolicLink) {
    const FileURL target = m_folder / "dotfiles/torvo.json";
    m_folder.folder("dotfiles");
    m_folder.folder("torvo");
    std::filesystem::create_symlink("../dotfiles/link", m_location.path());
    std::filesystem::create_symlink(target.path(), (m_folder / "dotfiles/link").path());
    ASSERT_TRUE(settings().set("a", true)) << "also when the target is not there yet";
    ASSERT_TRUE(settings().set("b", true));
    EXPECT_TRUE(std::filesystem::is_symlink(m_location.path()));
    EXPECT_TRUE(std::filesystem::is_symlink((m_folder / "dotfiles/link").path()));
    EXPECT_THAT(readFile(target), HasSubstr("\"b\": true"));
    EXPECT_EQ(settings().all().size(), 2u);

    std::filesystem::remove(m_location.path());
    std::filesystem::create_symlink("settings.json", m_location.path());
    EXPECT_FALSE(settings().set("a", true)) << "a link to itself";
    EXPECT_TRUE(std::filesystem::is_symlink(m_location.path()));
}

TEST_F(SettingsFileTest, NeverReplacesAFileThatItMayNotRead) {
    m_folder.file("torvo/settings.json", R"({"secret": true})");
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::all);
    const std::string folder = m_location.deletingLastPathComponent().path();
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    std::filesystem::permissions(m_location.path(), std::filesystem::perms::none);
    // Root may read everything.
    testing::runRestricted({.asNobody = ::getuid() == 0}, [&] {
        SettingsFile file = settings();
        EXPECT_FALSE(file.get("secret"));
        EXPECT_EQ(file.set("a", true).error(), "Could not save the settings: Permission denied.");
    });
    std::filesystem::permissions(m_location.path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(readFile(m_location), R"({"secret": true})");
}

TEST_F(SettingsFileTest, SaysSoWhenThereIsNoPlaceForTheFile) {
    m_folder.file("occupied", "a file, not a folder");
    EXPECT_EQ(SettingsFile(m_folder / "occupied/settings.json").set("a", true).error(),
              "Could not save the settings: Not a directory.");
    m_folder.folder("torvo/settings.json");
    SettingsFile file = settings();
    EXPECT_FALSE(file.get("a"));
    EXPECT_THAT(file.set("a", true).error(), HasSubstr("is not a file"));
}

TEST_F(SettingsFileTest, KeepsTheOldFileWhenTheDiskIsFullOrReadOnly) {
    const testing::SmallDisk small(64 << 10);
    if (!small.isMounted())
        GTEST_SKIP() << "mounting a small file system is not permitted here";
    const FileURL& disk = small.folder().url();
    SettingsFile file(disk.appendingPath("torvo/settings.json"));
    EXPECT_TRUE(file.set("a", std::string("old")));
    EXPECT_EQ(file.set("a", std::string(100'000, 'x')).error(),
              "Could not save the settings: No space left on device.");
    EXPECT_EQ(file.getAs<std::string>("a"), "old");
    EXPECT_THAT(filesBeside(disk.appendingPath("torvo/x")), ElementsAre("settings.json", "settings.json.lock"));
    EXPECT_TRUE(file.set("b", true)) << "what fits is stored again";

    EXPECT_EQ(::mount("torvo-test", disk.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, ""), 0);
    EXPECT_EQ(file.set("a", std::string("new")).error(), "Could not save the settings: Read-only file system.");
    EXPECT_EQ(file.getAs<std::string>("a"), "old");
}

TEST_F(SettingsFileTest, LosesNothingWhenProcessesWriteAtOnce) {
    constexpr std::int64_t kRounds = 150;
    const auto hammer = [&](const std::string& ownKey) {
        SettingsFile file = settings();
        for (std::int64_t round = 1; round <= kRounds; ++round) {
            EXPECT_TRUE(file.set(ownKey, round));
            EXPECT_TRUE(file.update("shared", [](std::optional<DefaultsValue> old) -> DefaultsValue {
                return old ? std::get<std::int64_t>(*old) + 1 : 1;
            }));
            EXPECT_EQ(file.getAs<std::int64_t>(ownKey), round);
        }
    };
    std::vector<pid_t> children;
    for (const char* key : {"one", "two", "three"})
        children.push_back(inChild([&] { hammer(key); }));
    for (const pid_t child : children)
        EXPECT_EQ(statusOf(child), 0);
    EXPECT_EQ(settings().getAs<std::int64_t>("shared"), 3 * kRounds);
    for (const char* key : {"one", "two", "three"})
        EXPECT_EQ(settings().getAs<std::int64_t>(key), kRounds);
}

TEST_F(SettingsFileTest, IsWholeAfterAWriterWasKilledAtAnyMoment) {
    SettingsFile reader = settings();
    ASSERT_TRUE(reader.set("count", std::int64_t{0}));
    for (int round = 0; round < 40; ++round) {
        const auto before = reader.getAs<std::int64_t>("count");
        ASSERT_TRUE(before);
        const pid_t child = inChild([&] {
            SettingsFile file = settings();
            for (std::int64_t i = *before + 1;; ++i) {
                static_cast<void>(file.set("count", i));
                static_cast<void>(file.set("filler", std::string(static_cast<std::size_t>(i % 7) * 5000, 'x')));
            }
        });
        // The moment differs from round to round with how far the writer has come.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (reader.getAs<std::int64_t>("count").value_or(-1) <= *before + round % 4 &&
               std::chrono::steady_clock::now() < deadline) {
        }
        ::kill(child, SIGKILL);
        EXPECT_EQ(statusOf(child), 128 + SIGKILL);
        ASSERT_GT(reader.getAs<std::int64_t>("count"), before);
        const auto document = nlohmann::json::parse(readFile(m_location), nullptr, false);
        ASSERT_TRUE(document.is_object());
    }
    EXPECT_THAT(m_reports, ElementsAre());
    ASSERT_TRUE(reader.set("count", std::int64_t{-1})) << "a dead writer holds no lock";
    EXPECT_THAT(filesBeside(m_location), ElementsAre("settings.json", "settings.json.lock"))
        << "what a dead writer left behind is cleaned up";
}

TEST(SettingsFileLocation, FollowsTheBaseDirectories) {
    const testing::ScopedVariable home("HOME", "/home/someone");
    const std::pair<std::optional<std::string>, const char*> rows[] = {
        {"/srv/configuration", "/srv/configuration/torvo/settings.json"},
        {"relative/ignored", "/home/someone/.config/torvo/settings.json"},
        {std::nullopt, "/home/someone/.config/torvo/settings.json"},
    };
    for (const auto& [configuration, location] : rows) {
        const testing::ScopedVariable variable("XDG_CONFIG_HOME", configuration);
        EXPECT_EQ(SettingsFile::defaultLocation().path(), location);
    }
}

TEST_F(SettingsFileTest, LosesPatienceWithAnotherProcessThatKeepsTheLock) {
    EXPECT_TRUE(settings().set("a", "old"));
    const Descriptor lock(::open((m_location.path() + ".lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    SettingsFile hasty(m_location, {}, std::chrono::milliseconds(200));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(hasty.set("a", "new").error(), "Could not save the settings: another program keeps them locked.");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    EXPECT_EQ(hasty.getAs<std::string>("a"), "old");
}

} // namespace
} // namespace torvo
