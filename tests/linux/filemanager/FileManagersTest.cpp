// The file managers themselves, on a desktop of their own, driven with real keys.
#include "linux/clipboard/X11Clipboard.h"
#include "linux/filemanager/ViewSearch.h"
#include "tests/support/DesktopSession.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

class FileManagersTest : public ::testing::TestWithParam<testing::FileManagerKind> {
  protected:
    std::vector<std::string> pathsOf(const std::vector<std::string>& names) {
        std::vector<std::string> paths;
        for (const auto& name : names)
            paths.push_back((files / name).path());
        return paths;
    }

    testing::TemporaryFolder files;
    testing::DesktopSession session;
};

TEST_P(FileManagersTest, TellWhatIsSelectedAndTakeASelection) {
    const std::vector<std::string> names{"a.png",     "b.png",     "c.txt",       "with  spaces",
                                         "\"quoted'", "new\nline", "bad\xff.png", "ümlaut e\u0301.txt",
                                         "-dash.png"};
    for (const auto& name : names)
        files.file(name, "content");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    auto& manager = session.fileManagers();
    EXPECT_THAT(manager.selection(), IsEmpty());

    EXPECT_TRUE(session.selectsAll(names.size()));
    EXPECT_THAT(manager.selection(), UnorderedElementsAreArray(pathsOf(names))) << "every byte of every name";

    std::vector<std::string> some{"bad\xff.png", "new\nline", "b.png"};
    // Dolphin takes addresses as text, and so cannot be told of a name that is none.
    if (GetParam().program == "dolphin")
        some.erase(some.begin());
    manager.select(pathsOf(some));
    EXPECT_TRUE(session.selectionBecomes(some));
    manager.select(pathsOf({"a.png", "is not there"}));
    EXPECT_TRUE(session.selectionBecomes({"a.png"}));
    manager.select({});
    EXPECT_TRUE(session.selectionBecomes({}));

    // Made a moment ago: the window shows it when it has noticed.
    files.file("fresh.jpg", "content");
    manager.select(pathsOf({"fresh.jpg"}));
    EXPECT_TRUE(session.selectionBecomes({"fresh.jpg"}));

    const auto frame = manager.frame(session.window());
    ASSERT_TRUE(frame);
    EXPECT_GT(frame->width, 200);
    EXPECT_EQ(manager.frontWindow(session.pid()), session.window());
    EXPECT_THAT(manager.processes(), ElementsAre(session.pid()));
}

TEST_P(FileManagersTest, TakeASelectionWhileAnotherProgramKeepsTheKeyboard) {
    for (const char* name : {"a.png", "b.png"})
        files.file(name, "content");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    auto& display = session.display();
    const testing::XWindow editor(display, "Editor", 4711);
    session.activate(editor.id());
    for (const auto& names : {std::vector<std::string>{"a.png"}, {"b.png"}, {}}) {
        session.fileManagers().select(pathsOf(names));
        EXPECT_TRUE(session.selectionBecomes(names));
    }
    EXPECT_EQ(display.activeWindow(), editor.id());
    EXPECT_EQ(display.stackedWindows().back(), editor.id());
}

TEST_P(FileManagersTest, AreLeftAloneWhileTheyHang) {
    files.file("a.png", "content");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    EXPECT_TRUE(session.selectsAll(1));
    auto& manager = session.fileManagers();

    ASSERT_EQ(::kill(session.pid(), SIGSTOP), 0);
    const auto began = std::chrono::steady_clock::now();
    EXPECT_THAT(manager.selection(), IsEmpty());
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(manager.folder(session.window()));
    EXPECT_TRUE(manager.frame(session.window())) << "the X server knows";
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(2)) << "it is asked once";
    ASSERT_EQ(::kill(session.pid(), SIGCONT), 0);
    EXPECT_TRUE(session.selectionBecomes({"a.png"}));

    session.close();
    EXPECT_THAT(manager.selection(), IsEmpty());
    manager.select(pathsOf({"a.png"}));
    EXPECT_FALSE(manager.frontFolder());
}

TEST_P(FileManagersTest, AreAskedForTheWindowThatTheUserWorksIn) {
    // Both have the same title.
    for (const char* name : {"one/files/a.png", "two/files/b.png", "two/files/c.png"})
        files.file(name, "content");
    const auto one = files / "one/files";
    const auto two = files / "two/files";
    auto& manager = session.fileManagers();
    ASSERT_TRUE(session.open(GetParam(), one));
    ASSERT_TRUE(session.selectsAll(1));
    const auto first = session.window();
    ASSERT_TRUE(session.openAnother(GetParam(), two));
    const auto second = session.window();
    ASSERT_NE(first, second);
    ASSERT_TRUE(session.selectsAll(2));
    session.activate(first);
    EXPECT_TRUE(session.selectionBecomes({"a.png"}));
    EXPECT_EQ(manager.frontFolder(), one.path());
    session.activate(second);
    EXPECT_TRUE(session.selectionBecomes({"b.png", "c.png"}));
    EXPECT_EQ(manager.frontFolder(), two.path());
    manager.select({two.appendingPath("c.png").path()});
    EXPECT_TRUE(session.selectionBecomes({"c.png"}));

    // Somebody else has the keyboard, and the upper window goes to another desktop.
    const testing::XWindow editor(session.display(), "Editor", 4711);
    session.activate(editor.id());
    EXPECT_EQ(manager.frontWindow(), second);
    testing::XDesktop::input({"set_desktop_for_window", std::to_string(second), "1"});
    EXPECT_TRUE(session.desktop().eventually([&] { return manager.frontWindow() == first; }));
    EXPECT_TRUE(session.selectionBecomes({"a.png"}));
    EXPECT_EQ(manager.folder(second), two.path()) << "it is where it was";
}

TEST_P(FileManagersTest, AreAskedForTheTabThatIsShown) {
    // The folders have one name in common.
    for (const char* name : {"0sub/a.png", "0sub/b.png", "a.png"})
        files.file(name, "content");
    const auto inner = (files / "0sub").path();
    auto& manager = session.fileManagers();
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    const bool opensThere = GetParam().program == "nautilus";
    if (opensThere) {
        manager.select({inner});
        ASSERT_TRUE(session.selectionBecomes({"0sub"}));
        session.press("ctrl+Return");
    } else {
        session.press("ctrl+t");
    }
    // Some open it behind the one that is shown.
    session.press("alt+2");
    const auto goesIn = [&] {
        if (!opensThere) {
            session.clickBesideTheItems();
            for (const char* key : {"End", "Home", "Return"})
                session.press(key);
        }
        return testing::eventually([&] { return manager.frontFolder() == inner; }, std::chrono::seconds(2));
    };
    ASSERT_TRUE(testing::eventually(goesIn)) << manager.frontFolder().value_or("nothing");
    ASSERT_TRUE(session.selectsAll(2));
    EXPECT_THAT(manager.selection(), UnorderedElementsAreArray(pathsOf({"0sub/a.png", "0sub/b.png"})));
    session.press("alt+1");
    EXPECT_TRUE(testing::eventually([&] { return manager.frontFolder() == files.path(); }))
        << manager.frontFolder().value_or("nothing");
    EXPECT_TRUE(session.selectionBecomes(opensThere ? std::vector<std::string>{"0sub"}
                                                    : std::vector<std::string>{"0sub", "a.png"}));
    session.press("alt+2");
    EXPECT_TRUE(testing::eventually([&] { return manager.frontFolder() == inner; }));
    manager.select({inner + "/b.png"});
    EXPECT_TRUE(session.selectionBecomes({"b.png"}));
}

TEST_P(FileManagersTest, WaitOnlyForWhatTheyMayComeToShow) {
    for (const char* name : {"a.png", ".hidden.png", "listed.png", ".hidden", "elsewhere/b.png"})
        files.file(name, std::string_view(name) == ".hidden" ? "listed.png\n" : "content");
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    auto& manager = session.fileManagers();
    const auto began = std::chrono::steady_clock::now();
    manager.select(pathsOf({"a.png", ".hidden.png", "listed.png", "elsewhere/b.png", "gone.png"}));
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(1500));
    EXPECT_TRUE(session.selectionBecomes({"a.png"}));
    // Nor for what lies in another folder: there the user has gone on to something else.
    manager.select(pathsOf({"elsewhere/b.png"}));
    EXPECT_EQ(session.selectedNames(), std::vector<std::string>{"a.png"});
    // What is gone from this one is no longer selected.
    manager.select(pathsOf({"gone.png"}));
    EXPECT_TRUE(session.selectionBecomes({}));
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(2500));
}

TEST_P(FileManagersTest, TellSelectionsOfThousands) {
    // Ten thousand are told by Thunar as well, but its icon view takes half a minute to give way to the details view.
    const int kCount = testing::hasAllFileManagers() && GetParam().program != "thunar" ? 10'000 : 1500;
    for (int i = 0; i < kCount; ++i)
        std::ofstream(files.path() + "/f" + std::to_string(i) + ".txt") << i;
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    auto& manager = session.fileManagers();
    ASSERT_TRUE(session.selectsAll(kCount));
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(manager.selection().size(), kCount);
    EXPECT_LE(std::chrono::steady_clock::now() - began, std::chrono::seconds(1));
    manager.select(pathsOf({"f0.txt", "f1499.txt"}));
    EXPECT_TRUE(session.selectionBecomes(GetParam().program == "nautilus"
                                             // What is not on the screen cannot be selected there.
                                             ? std::vector<std::string>{"f0.txt"}
                                             : std::vector<std::string>{"f0.txt", "f1499.txt"}));
}

INSTANTIATE_TEST_SUITE_P(Desktop, FileManagersTest, ::testing::ValuesIn(testing::fileManagerKinds()),
                         ::testing::PrintToStringParamName());

/// Nautilus makes only the items near those on the screen.
TEST(NautilusWindowTest, TellsAPartOfALargeFolder) {
    if (!testing::hasAllFileManagers())
        GTEST_SKIP() << "./dev test --all";
    constexpr int kCount = 1500;
    testing::TemporaryFolder files;
    for (int i = 0; i < kCount; ++i)
        files.file("f" + std::to_string(i) + ".txt");
    testing::DesktopSession session;
    ASSERT_TRUE(session.open({"nautilus", "org.gnome.Nautilus"}, files.url()));
    ASSERT_TRUE(session.selectsAll(kCount));
    session.press("Home");
    testing::XDesktop::input({"key", "--repeat", "50", "shift+Page_Down"});
    std::vector<std::string> selected;
    EXPECT_TRUE(testing::eventually([&] {
        selected = session.fileManagers().selection();
        return selected.size() > 250 && selected.size() < kCount;
    })) << selected.size();
    EXPECT_EQ(std::set<std::string>(selected.begin(), selected.end()).size(), selected.size());
    EXPECT_TRUE(std::ranges::all_of(selected, [](const auto& path) { return FileURL(path).exists(); }));
}

/// Thunar opens with the icon view, which shows nothing of its items on the accessibility bus.
TEST(ThunarWindowTest, ReadsItsDetailsViewWithoutTheClipboard) {
    testing::TemporaryFolder files;
    for (const char* name : {"a.png", "b.png", "c.png"})
        files.file(name, "content");
    testing::DesktopSession session;
    ASSERT_TRUE(session.open({"thunar", "Thunar"}, files.url()));
    auto& manager = session.fileManagers();
    session.press("ctrl+2");
    session.press("ctrl+a");
    EXPECT_TRUE(session.selectionBecomes({"a.png", "b.png", "c.png"}));
    EXPECT_THAT(manager.selection(),
                ElementsAre((files / "a.png").path(), (files / "b.png").path(), (files / "c.png").path()))
        << "in the window's order";
    manager.select({(files / "b.png").path()});
    EXPECT_TRUE(session.selectionBecomes({"b.png"}));
    session.press("ctrl+3");
    EXPECT_TRUE(session.selectionBecomes({"b.png"}));
    manager.select({(files / "c.png").path()});
    EXPECT_TRUE(session.selectionBecomes({"c.png"}));
}

/// A menu takes the keyboard, and what the user types then chooses from it.
TEST(ThunarWindowTest, OpensNoMenuAndGoesBackToItsView) {
    testing::TemporaryFolder files;
    for (const char* name : {"a.png", "b.png"})
        files.file(name, "content");
    testing::DesktopSession session;
    ASSERT_TRUE(session.open({"thunar", "Thunar"}, files.url()));
    auto& display = session.display();
    int opened = 0;
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(display.get(), display.root(), XCB_CW_EVENT_MASK, &mask);
    display.listen(
        [&](const xcb_generic_event_t& event) { opened += (event.response_type & 0x7F) == XCB_MAP_NOTIFY ? 1 : 0; });
    SessionBus bus;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto accessibility = AccessibilityBus::connect(*bus.connection(), deadline);
    ASSERT_TRUE(accessibility);
    const AccessibleReader reader(**accessibility, deadline);
    const auto view = [&] {
        const auto application = (*accessibility)->application(session.pid(), deadline);
        const auto pane = application ? findShown(reader, *application, {AccessibleRole::directoryPane}) : std::nullopt;
        return pane ? reader.name(*pane) : "";
    };
    const auto focus = [&] { return display.activeWindow(); };
    const auto iconView = view();
    const auto front = focus();
    EXPECT_FALSE(iconView.empty());
    auto& manager = session.fileManagers();
    EXPECT_THAT(manager.selection(), IsEmpty());
    for (const char* name : {"a.png", "b.png"}) {
        manager.select({(files / name).path()});
        EXPECT_THAT(manager.selection(), ElementsAre((files / name).path()));
        EXPECT_EQ(view(), iconView);
        manager.select({});
        EXPECT_THAT(manager.selection(), IsEmpty());
    }
    display.dispatch();
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(focus(), front);
}

/// An open menu, or a virtual machine, gets every key whatever window has the keyboard.
TEST(ThunarWindowTest, PressesNoKeysWhileAProgramHasGrabbedTheKeyboard) {
    testing::TemporaryFolder files;
    for (const char* name : {"a.png", "b.png"})
        files.file(name, "content");
    testing::DesktopSession session;
    ASSERT_TRUE(session.open({"thunar", "Thunar"}, files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    // One that has seen nothing of this window yet.
    SessionBus bus;
    FileManagers manager(bus);
    {
        testing::KeyboardGrab menu;
        EXPECT_THAT(manager.selection(), IsEmpty());
        manager.select({(files / "a.png").path()});
        EXPECT_EQ(menu.keyPresses(), 0);
    }
    EXPECT_TRUE(testing::eventually([&] { return manager.selection().size() == 2; }, std::chrono::seconds(10)))
        << "it was not taken for nothing selected";
}

/// Items of a folder that was opened in place have names like those beside it.
TEST(DolphinWindowTest, TellsItemsOfOpenedFoldersFromThoseBesideThem) {
    if (!testing::hasAllFileManagers())
        GTEST_SKIP() << "./dev test --all";
    testing::TemporaryFolder files;
    for (const char* name : {"sub/same.txt", "same.txt"})
        files.file(name, "content");
    testing::DesktopSession session;
    ASSERT_TRUE(session.open({"dolphin", "dolphin"}, files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    session.press("ctrl+3");
    auto& manager = session.fileManagers();
    const auto selected = [&](const char* keys, const char* name) {
        session.press(keys);
        return testing::eventually(
            [&] { return manager.selection() == std::vector<std::string>{(files / name).path()}; });
    };
    session.press("End");
    EXPECT_TRUE(selected("Home", "sub"));
    session.press("Right");
    EXPECT_TRUE(selected("Down", "sub/same.txt")) << ::testing::PrintToString(manager.selection());
    EXPECT_TRUE(selected("Down", "same.txt")) << ::testing::PrintToString(manager.selection());
    // By its address.
    manager.select({(files / "same.txt").path()});
    EXPECT_TRUE(selected("F15", "same.txt"));
}

/// A starter is shown under the name that it gives itself.
TEST_P(FileManagersTest, AreNotMisledByStarters) {
    files.file("a.desktop", "[Desktop Entry]\nType=Application\nName=b.txt\nExec=true\n");
    files.file("b.txt", "content");
    std::filesystem::permissions((files / "a.desktop").path(), std::filesystem::perms::owner_all);
    ASSERT_TRUE(session.open(GetParam(), files.url()));
    ASSERT_TRUE(session.selectsAll(2));
    // Each of them in turn, whichever comes first.
    std::set<std::string> seen;
    for (const char* key : {"End", "Home"}) {
        session.press(key);
        EXPECT_TRUE(testing::eventually([&] { return session.selectedNames().size() == 1; }));
        for (auto& name : session.selectedNames())
            seen.insert(std::move(name));
    }
    EXPECT_THAT(seen, ElementsAre("a.desktop", "b.txt"));
}

} // namespace
} // namespace torvo
