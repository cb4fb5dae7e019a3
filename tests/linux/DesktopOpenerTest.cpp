// A real bus with a file manager that the test plays, and real programs on a search path of the test's own.
#include "linux/DesktopOpener.h"

#include "linux/DetachedProgram.h"
#include "linux/SettingsPanes.h"
#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <sstream>

namespace torvo {
namespace {

using testing::BusProgram;
using ::testing::ElementsAre;
using testing::eventually;
using ::testing::IsEmpty;
using testing::readFile;

const DBusObject kFileManager{"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                              R"(<node><interface name="org.freedesktop.FileManager1"><method name="ShowItems">
  <arg type="as" direction="in"/><arg type="s" direction="in"/></method></interface></node>)"};

class DesktopOpenerTest : public ::testing::Test {
  protected:
    /// A program that writes its name and arguments into a file of its name, all at once. They are bytes of a script:
    /// nothing else may be on the search path.
    FileURL program(const std::string& name) {
        return folder.program(name, fmt::format("#!/bin/sh\nprintf '%s|' \"${{0##*/}}\" \"$@\" > '{0}/out.tmp'\n"
                                                "/bin/mv '{0}/out.tmp' '{0}/out'\n",
                                                folder.path()));
    }
    /// What the program that was started says, once it has.
    std::string started() {
        EXPECT_TRUE(eventually([&] { return out.exists(); }));
        auto text = readFile(out);
        ::unlink(out.path().c_str());
        return text;
    }

    testing::PrivateBus bus;
    testing::TemporaryFolder folder;
    FileURL out = folder / "out";
    testing::ScopedVariable path{"PATH", (folder / "bin").path()};
    SessionBus session;
    testing::ManualDispatcher dispatcher;
};

TEST_F(DesktopOpenerTest, RevealsFilesInTheFileManagerElseTheirFolder) {
    (void)program("bin/xdg-open");
    DesktopOpener opener(session, dispatcher);
    opener.reveal({});
    opener.reveal({FileURL("/a b/\xFF;x"), FileURL("/c")});
    EXPECT_EQ(started(), "xdg-open|file:///a%20b|");
    {
        const BusProgram manager(kFileManager, [](const std::string&, GVariant*&) { return true; });
        opener.reveal({FileURL("/a b/\xFF;x"), FileURL("/c")});
        ASSERT_TRUE(manager.waitForCalls(1));
        EXPECT_THAT(manager.calls(), ElementsAre("ShowItems(['file:///a%20b/%FF%3Bx', 'file:///c'], '')"));
    }
    opener.reveal({FileURL("/c")});
    EXPECT_EQ(started(), "xdg-open|file:///|");
}

TEST_F(DesktopOpenerTest, DoesNotWaitForAFileManagerThatSaysNothing) {
    (void)program("bin/xdg-open");
    const BusProgram manager(kFileManager, [](const std::string&, GVariant*&) { return false; });
    const auto start = std::chrono::steady_clock::now();
    {
        DesktopOpener opener(session, dispatcher);
        opener.reveal({FileURL("/c")});
        ASSERT_TRUE(manager.waitForCalls(1));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(out.exists());
}

TEST_F(DesktopOpenerTest, OpensAddressesWithoutAShell) {
    struct Row {
        const char* address;
        const char* opened;
    };
    const Row rows[] = {
        {"https://example.org/a?b=c&d#e", "https://example.org/a?b=c&d#e"},
        {"HTTP://example.org/ü \"$(x)'\n`", "HTTP://example.org/%C3%BC%20%22$(x)%27%0A%60"},
        {"file:///a%20b", "file:///a%20b"},
        {"file://host/a", ""},
        {"--help", ""},
        {"/etc/passwd", ""},
        {"javascript:alert(1)", ""},
        {"ftp://example.org", ""},
        {"", ""},
    };
    for (const auto& [address, opened] : rows)
        EXPECT_EQ(openableAddress(address), opened);
    (void)program("bin/xdg-open");
    DesktopOpener opener(session, dispatcher);
    opener.open("mailto:nobody");
    opener.open("https://example.org/$(touch%20x);a b");
    EXPECT_EQ(started(), "xdg-open|https://example.org/$(touch%20x);a%20b|");
}

TEST_F(DesktopOpenerTest, ShowsTheClosestPaneOfTheRunningDesktop) {
    const std::string privacy = "x-apple.systempreferences:com.apple.preference.security?";
    using Commands = std::vector<std::vector<std::string>>;
    struct Row {
        std::string address;
        const char* desktops;
        Commands commands;
    };
    const Row rows[] = {
        {privacy + "Privacy_Accessibility", "ubuntu:GNOME", {{"gnome-control-center", "universal-access"}}},
        {privacy + "Privacy_Automation", "GNOME", {{"gnome-control-center", "privacy"}}},
        {"x-apple.systempreferences:com.apple.ExtensionsPreferences?extensionPointIdentifier=com.apple.FinderSync",
         "GNOME-Classic:GNOME",
         {{"gnome-control-center", "applications"}}},
        {privacy + "Privacy_Accessibility",
         "KDE",
         {{"systemsettings", "kcm_access"}, {"systemsettings5", "kcm_access"}}},
        {privacy + "Privacy_Accessibility", "", {}},
        {privacy + "Privacy_Accessibility", "sway", {}},
        {"x-apple.systempreferences:com.apple.other", "GNOME", {}},
        {"https://example.org", "GNOME", {}},
    };
    for (const auto& [address, desktops, commands] : rows)
        EXPECT_EQ(settingsCommands(address, desktops), commands) << address << " " << desktops;

    (void)program("bin/systemsettings5");
    const testing::ScopedVariable desktop("XDG_CURRENT_DESKTOP", "KDE");
    DesktopOpener opener(session, dispatcher);
    opener.open(privacy + "Privacy_Accessibility");
    EXPECT_EQ(started(), "systemsettings5|kcm_access|") << "the first one is not installed";
}

TEST_F(DesktopOpenerTest, StartsProgramsThatHaveTheirOwnLife) {
    (void)program("bin/xdg-open");
    DesktopOpener opener(session, dispatcher);
    const auto opens = [&](const FileURL& application) {
        bool isOpened = false;
        opener.openApplication(application, [&] { isOpened = true; });
        EXPECT_TRUE(dispatcher.runUntil([&] { return isOpened; })) << application.path();
    };
    opens(program("a program"));
    EXPECT_EQ(started(), "a program|");
    (void)program("bundle/AppRun");
    opens(folder / "bundle");
    EXPECT_EQ(started(), "AppRun|");
    opens(folder.folder("plain"));
    EXPECT_EQ(started(), "xdg-open|file://" + folder.path() + "/plain|");
    opens(folder / "missing");
    EXPECT_FALSE(out.exists());

    // In a session of its own, and nobody's to wait for.
    EXPECT_TRUE(startDetached({"/bin/sh", "-c",
                               "/bin/ps -o sid=,pid= -p $$ > '" + folder.path() + "/ids'; /bin/mv '" + folder.path() +
                                   "/ids' '" + out.path() + "'"})
                    .has_value());
    std::istringstream ids(started());
    int leader = 0;
    int process = -1;
    ids >> leader >> process;
    EXPECT_EQ(leader, process);
    EXPECT_FALSE(startDetached({"no-such-program"}).has_value());
}

} // namespace
} // namespace torvo
