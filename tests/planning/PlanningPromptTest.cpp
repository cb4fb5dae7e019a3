#include "planning/PlanningPrompt.h"

#include "support/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::vector<FileURL> files(std::initializer_list<const char*> paths) {
    std::vector<FileURL> urls;
    for (const char* path : paths)
        urls.emplace_back(path);
    return urls;
}

std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

TEST(PlanningPrompt, TellsOnlyTheKindsOfTheSelectedFiles) {
    EXPECT_EQ(PlanningPrompt::selectionText({}), "No files are currently selected.");
    EXPECT_EQ(PlanningPrompt::selectionText(files({"/x/a.PNG", "/x/b.png", "/x/README"})),
              "There are 3 selected file(s): .png, .png, (no extension).");
    EXPECT_EQ(PlanningPrompt::selectionText(files({"/x/.hidden"})), "There are 1 selected file(s): (no extension).");
    const auto prompt = PlanningPrompt::systemPrompt({FileURL("/x"), files({"/x/secret.txt"})}, {"sips", "zip"});
    EXPECT_THAT(prompt, Not(HasSubstr("secret")));
}

TEST(PlanningPrompt, PutsTheSituationWhereTheModelExpectsIt) {
    const auto folder = std::string("/a b/\"q\"");
    const auto prompt =
        PlanningPrompt::systemPrompt({FileURL(folder + "/"), files({"/a b/x.JPG"})}, {"sips", "zip", "gs"});
    EXPECT_THAT(prompt,
                HasSubstr("with their exact paths. There are 1 selected file(s): .jpg.\n- The folder open in Finder "
                          "(search HERE for \"select\" commands): " +
                          folder + "\n\nRules:\n"));
    EXPECT_THAT(prompt, HasSubstr("`find \"" + folder + "\" -maxdepth 1 -size +10M`"));
    EXPECT_THAT(
        prompt,
        HasSubstr("\n- Available tools: sips, zip, gs, plus standard Unix utilities (find, ls, stat, mdfind).\n"));
    EXPECT_THAT(prompt, HasSubstr(R"({"kind": "select" | "run", "runnable": boolean, "command": string, )"
                                  R"("explanation": string, "destructive": boolean, "preview": string})"));
    EXPECT_THAT(prompt, HasSubstr(R"(ffmpeg -y -i "$1" -vcodec libx264 -crf 28 "${1%.*}-compressed.mov")"));
    EXPECT_THAT(prompt, HasSubstr(R"(for f in "$@"; do sips -Z 1000 "$f" --out "${f%.*}-small.${f##*.}"; done)"));
    EXPECT_THAT(prompt, HasSubstr(R"(sips --cropToHeightWidth HEIGHT WIDTH "$f" --out "${f%.*}-cropped.${f##*.}")"));
    EXPECT_THAT(prompt, Not(HasSubstr("\n\n\n")));
    EXPECT_TRUE(canonicallyEqual(prompt, printable(prompt))) << "the prompt is UTF-8";

    const auto empty = PlanningPrompt::systemPrompt({}, {"sips", "zip"});
    EXPECT_EQ(occurrences(empty, "(no Finder window open)"), 2U);
    EXPECT_EQ(occurrences(empty, "No files are currently selected."), 1U);
}

TEST(PlanningPrompt, AsksForARepairInTheWordsOfTheUser) {
    EXPECT_EQ(
        PlanningPrompt::repairRequest("make it smaller", "no such filter"),
        "make it smaller\n\nThe previous attempt failed with this error: no such filter\nProvide a corrected command.");
}

TEST(PlanningPrompt, AdvertisesOnlyToolsInTheStandardFolders) {
    const auto tools = PlanningPrompt::availableTools();
    ASSERT_GE(tools.size(), 2U);
    EXPECT_EQ(tools[0], "sips");
    EXPECT_EQ(tools[1], "zip");
    EXPECT_TRUE(PlanningPrompt::toolExists("zsh"));
    EXPECT_FALSE(PlanningPrompt::toolExists("no-such-tool"));
    EXPECT_FALSE(PlanningPrompt::toolExists("../sbin")) << "a folder is no tool";
    EXPECT_FALSE(PlanningPrompt::toolExists(""));
}

} // namespace
} // namespace torvo
