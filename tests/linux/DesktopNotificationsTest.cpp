// Real session buses with a notification server that the test plays.
#include "linux/DesktopNotifications.h"

#include "linux/DBusDistributedNotifications.h"
#include "linux/StderrLog.h"
#include "tests/support/Eventually.h"
#include "tests/support/PrivateBus.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

namespace torvo {
namespace {

using testing::BusProgram;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::PrivateBus;
using ::testing::StartsWith;
using namespace std::chrono_literals;

const DBusObject kServer{"org.freedesktop.Notifications", "/org/freedesktop/Notifications", R"(<node>
<interface name="org.freedesktop.Notifications">
  <method name="GetCapabilities"><arg type="as" direction="out"/></method>
  <method name="Notify">
    <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
    <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/>
  </method>
</interface></node>)"};

/// A server with these capabilities, as a GVariant in text format.
BusProgram::Answer serverThatCan(const std::string& capabilities) {
    return [capabilities](const std::string& member, GVariant*& answer) {
        const auto text = member == "Notify" ? "(uint32 1,)" : "(" + capabilities + ",)";
        answer = g_variant_new_parsed(text.c_str());
        return true;
    };
}

NotificationAuthorization authorizationOf(UserNotifications& notifications) {
    std::promise<NotificationAuthorization> said;
    notifications.authorization([&](NotificationAuthorization answer) { said.set_value(answer); });
    return said.get_future().get();
}

bool isGranted(UserNotifications& notifications) {
    std::promise<bool> said;
    notifications.requestAuthorization([&](bool answer) { said.set_value(answer); });
    return said.get_future().get();
}

TEST(DesktopNotifications, AreAuthorizedWhereThereIsAServer) {
    const PrivateBus bus;
    SessionBus session;
    DesktopNotifications notifications(session);
    EXPECT_EQ(authorizationOf(notifications), NotificationAuthorization::denied);
    EXPECT_FALSE(isGranted(notifications));
    {
        const BusProgram server(kServer, serverThatCan("['body']"));
        EXPECT_EQ(authorizationOf(notifications), NotificationAuthorization::authorized);
        EXPECT_TRUE(isGranted(notifications));
    }
    // The bus takes a moment to notice that the server is gone.
    EXPECT_TRUE(
        testing::eventually([&] { return authorizationOf(notifications) == NotificationAuthorization::denied; }));
    {
        // Another bus in the place of the one that is lost.
        const PrivateBus other({kServer.name});
        SessionBus otherSession;
        DesktopNotifications waiting(otherSession);
        EXPECT_EQ(authorizationOf(waiting), NotificationAuthorization::authorized) << "the bus would start one";
    }
    const testing::ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    SessionBus none;
    DesktopNotifications silent(none);
    EXPECT_EQ(authorizationOf(silent), NotificationAuthorization::denied);
    silent.add({"1", "Torvo", "Done"});
}

TEST(DesktopNotifications, AreShownAsTheServerCan) {
    struct Row {
        const char* capabilities;
        const char* shown;
    };
    const Row rows[] = {
        {"['body', 'body-markup']", "'Torvo & Co', 'a &lt;b&gt; &amp; \uFFFD'"},
        {"['body']", "'Torvo & Co', 'a <b> & \uFFFD'"},
        {"['actions']", "'Torvo & Co: a <b> & \uFFFD', ''"},
    };
    for (const auto& [capabilities, shown] : rows) {
        const PrivateBus bus;
        const BusProgram server(kServer, serverThatCan(capabilities));
        SessionBus session;
        DesktopNotifications notifications(session);
        notifications.add({"1", "Torvo & Co", "a <b> & \xFF"});
        ASSERT_TRUE(server.waitForCalls(2));
        const auto call = server.calls()[1];
        EXPECT_THAT(call, StartsWith("Notify('Torvo', 0, 'torvo', " + std::string(shown) + ", []")) << capabilities;
        EXPECT_THAT(call, HasSubstr("'suppress-sound': <true>"));
    }
}

TEST(DesktopNotifications, DoNotWaitForAServerThatSaysNothing) {
    const PrivateBus bus;
    const BusProgram server(kServer, [](const std::string&, GVariant*&) { return false; });
    SessionBus session;
    const auto start = std::chrono::steady_clock::now();
    {
        DesktopNotifications notifications(session);
        notifications.add({"1", "Torvo", "Done"});
        notifications.add({"2", "Torvo", "Done"});
        EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms);
        ASSERT_TRUE(server.waitForCalls(1));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s) << "quitting does not wait for the server's time-out";
    EXPECT_THAT(server.calls(), ElementsAre("GetCapabilities()"));
}

TEST(DistributedNotifications, ReachEveryProgramUnderTheirNames) {
    auto bus = std::make_unique<PrivateBus>();
    const testing::TemporaryFolder folder;
    const auto heard = folder.file("heard");
    const auto hears = [&](const std::string& text) {
        return testing::eventually([&] { return testing::readFile(heard).find(text) != std::string::npos; });
    };
    const Descriptor output(::open(heard.path().c_str(), O_WRONLY | O_CLOEXEC));
    const testing::BackgroundProgram monitor(
        "/usr/bin/dbus-monitor", {"--session", "type='signal',interface='org.torvo.DistributedNotifications'"},
        output.get());
    ASSERT_TRUE(hears("NameLost")) << "that is when it listens";
    SessionBus session;
    DBusDistributedNotifications notifications(session);
    notifications.post("torvobar.commandBarFocused");
    ASSERT_TRUE(hears("string \"torvobar.commandBarFocused\""));
    EXPECT_TRUE(hears("path=/org/torvo/DistributedNotifications;"));
    EXPECT_TRUE(hears("member=Posted"));
    {
        // What is posted last is not lost with the program.
        SessionBus other;
        DBusDistributedNotifications last(other);
        last.post("torvobar.commandBarBlurred");
    }
    EXPECT_TRUE(hears("string \"torvobar.commandBarBlurred\""));
    bus.reset();
    notifications.post("nobody hears this");
}

TEST(StderrLog, WritesWholeLinesThatCannotDriveATerminal) {
    ::testing::internal::CaptureStderr();
    {
        std::vector<std::jthread> writers;
        writers.reserve(4);
        for (int i = 0; i < 4; ++i)
            writers.emplace_back([] {
                StderrLog log;
                for (int line = 0; line < 50; ++line)
                    log.write("a\nb\x1B[31m \xFF" + std::string(500, 'x'));
            });
    }
    const auto text = ::testing::internal::GetCapturedStderr();
    const auto expected = "a\uFFFDb\uFFFD[31m \uFFFD" + std::string(500, 'x') + "\n";
    std::string all;
    for (int i = 0; i < 200; ++i)
        all += expected;
    EXPECT_TRUE(text == all) << text.substr(0, 300);
}

} // namespace
} // namespace torvo
