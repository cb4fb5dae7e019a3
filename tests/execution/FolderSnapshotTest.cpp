#include "execution/FolderSnapshot.h"

#include "tests/support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>

using namespace torvo;
using namespace torvo::testing;

TEST(FolderSnapshot, FindsWhatAppearedInTheFoldersThemselvesByRisingBytes) {
    const TemporaryFolder home;
    home.file("a/old");
    home.file("a/overwritten", "1");
    home.file("a/gone");
    home.folder("b");
    const auto before = FolderSnapshot::of({home / "a", home / "b", home / "later", home / "never"});
    EXPECT_TRUE(before.newFiles().empty());

    home.file("a/overwritten", "2");
    home.file("a/.hidden");
    home.file("a/bad\xFFname");
    home.file("a/caf\u00E9");
    home.file("a/sub/deep");
    home.file("b/new");
    home.file("later/x");
    home.file("elsewhere");
    std::filesystem::create_symlink("nowhere", (home / "b/broken link").path());
    std::filesystem::remove((home / "a/gone").path());
    EXPECT_EQ(before.newFiles(),
              (std::vector{home / "a/.hidden", home / "a/bad\xFFname", home / "a/caf\u00E9", home / "a/sub",
                           home / "b/broken link", home / "b/new", home / "later/x"}));
}

TEST(FolderSnapshot, AgreesWithSetsOfNamesHoweverTheFolderChanges) {
    const TemporaryFolder home;
    std::mt19937 random(7);
    const auto names = [&home] {
        std::set<FileURL> found;
        for (const auto& entry : std::filesystem::directory_iterator(home.path()))
            found.insert(FileURL(entry.path().string()));
        return found;
    };
    for (int round = 0; round < 12; ++round) {
        const auto then = names();
        const auto before = FolderSnapshot::of({home.url()});
        // From a few changes to nearly everything replaced.
        const unsigned share = round % 4 == 3 ? 95 : 5;
        for (const FileURL& file : then)
            if (random() % 100 < share)
                std::filesystem::remove(file.path());
        for (int i = 0; i < 100; ++i)
            home.file(fmt::format("{:0{}}", random() % 3000, 1 + random() % 30));
        std::vector<FileURL> expected;
        for (const FileURL& file : names())
            if (!then.contains(file))
                expected.push_back(file);
        ASSERT_FALSE(expected.empty());
        ASSERT_EQ(before.newFiles(), expected) << "round " << round;
    }
}

TEST(WatchedFolders, AreTheParentsOfTheSelectionAndTheFolderEachOnce) {
    using URLs = std::vector<FileURL>;
    const auto url = [](const char* path) { return FileURL(path); };
    EXPECT_EQ(watchedFolders({}, std::nullopt), URLs{});
    EXPECT_EQ(watchedFolders({}, url("/b/../a/")), URLs{url("/a")});
    EXPECT_EQ(watchedFolders({url("/z/1"), url("/a/./2"), url("/z/3"), url("/root")}, url("/a")),
              (URLs{url("/"), url("/a"), url("/z")}));
}
