#include "desktop/FinderService.h"

#include "desktop/AccessibilityService.h"
#include "tests/support/FakeFinder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST(FinderSelection, KeepsPathsByteForByte) {
    EXPECT_THAT(parseFinderSelection(""), IsEmpty());
    EXPECT_THAT(parseFinderSelection("\n\n"), IsEmpty());
    EXPECT_THAT(parseFinderSelection("/b\n/a \n\n/ c\r\n/\xFF"),
                ElementsAre(FileURL("/b"), FileURL("/a "), FileURL("/ c\r"), FileURL("/\xFF")));
}

TEST(FinderWindowFrame, TurnsTheAxisOver) {
    EXPECT_EQ(finderWindowFrame({100, 50}, {800, 600}, 900), (Rect{100, 250, 800, 600}));
    EXPECT_EQ(finderWindowFrame({-5, 950}, {1, 0}, 900), (Rect{-5, -50, 1, 0}));
    EXPECT_EQ(finderWindowFrame({100, 50}, {0, 600}, 900), std::nullopt);
    EXPECT_EQ(finderWindowFrame({100, 50}, {-1, 600}, 900), std::nullopt);
}

class FinderServiceTest : public ::testing::Test {
  protected:
    testing::FakeFinder finder;
};

TEST_F(FinderServiceTest, RunsItsScriptsWithExactlyTheseArguments) {
    finder.show(FileURL("/f"), {FileURL("/f/ a "), FileURL("/f/b")});
    EXPECT_THAT(finder.service.selectedFiles(), ElementsAre(FileURL("/f/ a "), FileURL("/f/b")));
    finder.service.select({FileURL("/f/x"), FileURL("/f/-e")});
    finder.service.select({});
    const auto runs = finder.scripts.runs();
    ASSERT_EQ(runs.size(), 3U);
    EXPECT_THAT(runs[0], ElementsAre("-e", StartsWith("tell application \"Finder\"\n    set out to {}\n    try\n")));
    EXPECT_THAT(runs[1], ElementsAre("-e", StartsWith("on run argv\n    set theItems to {}\n"), "/f/x", "/f/-e"));
    EXPECT_THAT(runs[2], ElementsAre("-e", "tell application \"Finder\" to set selection to {}"));
}

TEST_F(FinderServiceTest, TakesNoPieceOfANameForAFile) {
    finder.show(FileURL("/f"), {FileURL("/f/two\nlines"), FileURL("/f/a"), FileURL("/f/x \n y\nz")});
    EXPECT_THAT(finder.service.selectedFiles(),
                ElementsAre(FileURL("/f/two\nlines"), FileURL("/f/a"), FileURL("/f/x \n y\nz")));
}

TEST_F(FinderServiceTest, ReadsAsEmptyWhenTheScriptProgramCannotStart) {
    finder.scripts.answer = [](const auto&) { return std::unexpected(std::string("no such file")); };
    EXPECT_THAT(finder.service.selectedFiles(), IsEmpty());
    EXPECT_EQ(finder.service.frontWindowFolder(), std::nullopt);
    EXPECT_THAT(finder.log.lines(),
                ElementsAre("[Torvo] osascript error: no such file", "[Torvo] osascript error: no such file"));
}

TEST_F(FinderServiceTest, FindsTheFrontWindowsFolderByWhicheverChannelKnowsIt) {
    struct Row {
        AccessibilityValue document;
        const char* folder;
    };
    finder.show(FileURL("/by/script"));
    const Row rows[] = {
        {"file:///Users/a/My%20Files/", "/Users/a/My Files"},
        {"file://localhost/a%FFb", "/a\xFF"
                                   "b"},
        {"/Volumes/Disk", "/Volumes/Disk"},
        {"https://example.org/x", "/by/script"},
        {"file://elsewhere/x", "/by/script"},
        {"", "/by/script"},
        {Point{1, 2}, "/by/script"},
    };
    for (const auto& [document, folder] : rows) {
        finder.accessibility.set(200, "AXDocument", document);
        EXPECT_EQ(finder.service.frontWindowFolder(), FileURL(folder));
    }
    finder.show(std::nullopt);
    EXPECT_EQ(finder.service.frontWindowFolder(), std::nullopt);
}

TEST_F(FinderServiceTest, TakesOnlyOrdinaryWindowsForTheFrontWindow) {
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
    finder.show(FileURL("/f"));
    finder.moveWindow({10, 20, 300, 200});
    EXPECT_EQ(finder.service.frontWindowFrame(), (Rect{10, 20, 300, 200}));
    finder.screens.current = {};
    EXPECT_EQ(finder.service.frontWindowFrame(), (Rect{10, 20 - 900, 300, 200})) << "no screen: its height counts as 0";
    finder.screens.current = testing::FakeScreens().current;

    // An information panel has the focus: the main window counts.
    finder.accessibility.set(300, "AXSubrole", "AXDialog");
    finder.accessibility.set(100, "AXFocusedWindow", AccessibilityElement{300});
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
    finder.accessibility.set(100, "AXMainWindow", AccessibilityElement{200});
    EXPECT_EQ(finder.service.frontWindowFrame(), (Rect{10, 20, 300, 200}));
    finder.accessibility.set(200, "AXSubrole", "AXStandardWindow2");
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
    finder.accessibility.set(200, "AXSubrole", "AXStandardWindow");
    finder.accessibility.set(200, "AXPosition", "10,20");
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
    finder.moveWindow({10, 20, 300, 200});
    finder.accessibility.isAllowed = false;
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
    EXPECT_EQ(finder.service.frontWindowFolder(), FileURL("/f")) << "scripts need no such permission";
    finder.accessibility.isAllowed = true;
    finder.quit();
    EXPECT_EQ(finder.service.frontWindowFrame(), std::nullopt);
}

TEST_F(FinderServiceTest, OpensThePanesOfTheSettings) {
    AccessibilityService::open(AccessibilityService::kAutomationAnchor, finder.workspace);
    AccessibilityService::openFinderExtensionsPane(finder.workspace);
    EXPECT_THAT(finder.workspace.opened,
                ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_Automation",
                            HasSubstr("?extensionPointIdentifier=com.apple.FinderSync")));
}

} // namespace
} // namespace torvo
