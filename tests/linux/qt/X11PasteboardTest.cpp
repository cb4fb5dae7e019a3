#include "linux/qt/X11Pasteboard.h"

#include "desktop/ClipboardService.h"
#include "tests/support/Eventually.h"
#include "tests/support/ScriptedOwner.h"
#include "tests/support/XDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Forms = testing::ScriptedOwner::Forms;

TEST(X11Pasteboard, ReadsAsEmptyWhileItsOwnerHangs) {
    const testing::XDesktop desktop;
    const testing::TemporaryFolder folder;
    const auto list = folder.file("list", "file:///tmp/a\n");
    const testing::BackgroundProgram owner(
        "/usr/bin/xclip", {"-quiet", "-selection", "clipboard", "-target", "text/uri-list", list.path()});
    X11Pasteboard pasteboard;
    ASSERT_TRUE(testing::eventually([&] { return pasteboard.hasFiles(); }));
    EXPECT_THAT(pasteboard.fileURLs(), ElementsAre(FileURL("/tmp/a")));

    ASSERT_EQ(::kill(owner.pid(), SIGSTOP), 0);
    const auto began = std::chrono::steady_clock::now();
    EXPECT_FALSE(pasteboard.hasFiles());
    EXPECT_THAT(pasteboard.fileURLs(), IsEmpty());
    EXPECT_FALSE(pasteboard.hasImage());
    EXPECT_FALSE(pasteboard.png());
    EXPECT_FALSE(pasteboard.tiff());
    EXPECT_LT(std::chrono::steady_clock::now() - began, 4s);
    ASSERT_EQ(::kill(owner.pid(), SIGCONT), 0);
    EXPECT_TRUE(testing::eventually([&] { return pasteboard.hasFiles(); })) << "it has survived being asked in vain";
    EXPECT_THAT(pasteboard.fileURLs(), ElementsAre(FileURL("/tmp/a")));
}

TEST(X11Pasteboard, TellsWhatCanBeHadWithoutFetchingPictures) {
    const testing::XDesktop desktop;
    X11Pasteboard pasteboard;
    struct Row {
        Forms forms;
        bool hasContent;
    };
    const Row rows[] = {
        {{{"text/uri-list", "https://example.org/\r\nfile:///tmp/a\r\n"}}, true},
        {{{"text/uri-list", "https://example.org/\r\n"}}, false},
        {{{"text/uri-list", "https://example.org/a.png\r\n"}, {"image/png", std::nullopt}}, true},
        {{{"text/uri-list", "refused"}}, false},
        {{{"image/png", std::nullopt}}, true},
        {{{"UTF8_STRING", "text"}}, false},
    };
    for (const auto& [forms, hasContent] : rows) {
        testing::ScriptedOwner owner(forms);
        owner.take();
        EXPECT_EQ(ClipboardService::hasContent(pasteboard), hasContent);
        EXPECT_THAT(owner.asked(), ::testing::Each(::testing::AnyOf("TARGETS", "text/uri-list")));
    }
}

} // namespace
} // namespace torvo
