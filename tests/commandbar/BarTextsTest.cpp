#include "commandbar/BarTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;

TEST(BarTexts, HintWhatReturnWouldDo) {
    const std::tuple<const char*, const char*, StatusKind> rows[] = {
        {"jpg", "⏎  Convert selected images to JPG", StatusKind::info},
        {"\t select all png  ", "⏎  Select .png files", StatusKind::info},
        {"select everything", "⏎  Select all items", StatusKind::info},
        {"deselect", "⏎  Clear selection", StatusKind::info},
        {"zip", "⏎  Zip the selection", StatusKind::info},
        {"make it nice", "", StatusKind::hint},
        {"  ", "", StatusKind::hint},
        {"", "", StatusKind::hint},
    };
    for (const auto& [typed, text, kind] : rows)
        EXPECT_EQ(liveHint(typed), (StatusLine{text, kind})) << typed;
    EXPECT_EQ(previewLabel(Select{{SelectionSpec::Extensions{}}}), "Select  files")
        << "the list is empty, not left out";
    EXPECT_EQ(previewLabel(SelectByCommand{"ls", "Find the largest"}), "Find the largest");
}

TEST(BarTexts, SayWhereACommandActs) {
    const FileURL pictures("/home/me/My Pictures");
    EXPECT_EQ(contextDescription(std::nullopt, 3, true), "No Finder window — open one or drop files here");
    EXPECT_EQ(contextDescription(pictures, 0, true), "📁 My Pictures · nothing selected");
    EXPECT_EQ(contextDescription(pictures, 1, false), "📁 My Pictures · 1 selected");
    EXPECT_EQ(contextDescription(pictures, 12, true), "📁 My Pictures · 12 dropped");
    EXPECT_EQ(contextDescription(FileURL("/a/evil\n\x1B[2J\xFF"), 1, false),
              "📁 evil\uFFFD\uFFFD[2J\uFFFD · 1 selected");
}

TEST(BarTexts, CountProgressInWholePercent) {
    const std::tuple<std::optional<std::size_t>, std::optional<std::size_t>, const char*> rows[] = {
        {3, 8, "Zip   37% · Esc to cancel"},
        {0, 8, "Zip   0% · Esc to cancel"},
        {9, 8, "Zip   100% · Esc to cancel"},
        {SIZE_MAX / 2, SIZE_MAX, "Zip   50% · Esc to cancel"},
        {3, 0, "Zip   Esc to cancel"},
        {3, std::nullopt, "Zip   Esc to cancel"},
        {std::nullopt, 8, "Zip   Esc to cancel"},
    };
    for (const auto& [completed, total, line] : rows)
        EXPECT_EQ(progressLine({"Zip", completed, total}), line);
}

std::vector<std::string> titles(const std::vector<Suggestion>& chips) {
    std::vector<std::string> titles;
    for (const auto& chip : chips)
        titles.push_back(chip.title);
    return titles;
}

TEST(BarChips, OfferRulesThenWhatFitsThenHistoryWithoutRepeating) {
    std::vector<Rule> rules;
    for (const char* trigger : {"web", "shrink", "select all pdf", "tidy", "fifth"})
        rules.push_back({UUID::random(), trigger, "x"});
    const std::vector<std::string> history{"make these pictures smaller", "web", "abcdefghijklmnopqrstuvwxyz",
                                           "fourth"};
    const std::optional<FileURL> folder{FileURL("/f")};

    EXPECT_THAT(titles(barChips(rules, folder, {}, history)),
                ElementsAre("web", "shrink", "select all pdf", "tidy", "Select images", "Select PDFs", "Largest files",
                            "Newest"));
    EXPECT_THAT(titles(barChips({}, std::nullopt, {}, history)),
                ElementsAre("make these pictures small…", "web", "abcdefghijklmnopqrstuvwxyz"));
    EXPECT_EQ(barChips({}, std::nullopt, {}, history).front().input, history.front());
    EXPECT_THAT(titles(barChips({rules[0]}, std::nullopt, {}, history)),
                ElementsAre("web", "make these pictures small…", "abcdefghijklmnopqrstuvwxyz"));
    EXPECT_THAT(titles(barChips({}, folder, {FileURL("/f/a.txt"), FileURL("/f/b")}, history)), ElementsAre("Zip"));
    // Characters are what people see as one: a flag of two letters, a letter with its accent, a family.
    std::string flags;
    for (int i = 0; i < 27; ++i)
        flags += i % 3 == 0 ? "🇩🇪" : i % 3 == 1 ? "e\u0301" : "👩‍👩‍👧";
    const auto cut = barChips({}, std::nullopt, {}, {flags}).front().title;
    EXPECT_TRUE(cut.ends_with("🇩🇪…"));
    EXPECT_EQ(cut.size(), flags.size() - std::string("e\u0301👩‍👩‍👧").size() + std::string("…").size());
}

} // namespace
} // namespace torvo
