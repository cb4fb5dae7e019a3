// Both ends of the remote control on a real bus.
#include "linux/RemoteControl.h"

#include "tests/support/ManualDispatcher.h"
#include "tests/support/PrivateBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RemoteControlTest : public ::testing::Test {
  protected:
    RemoteControlActions actions() {
        return {.toggle = [this] { done.emplace_back("toggle"); },
                .drop =
                    [this](const std::vector<FileURL>& files) {
                        for (const auto& file : files)
                            done.push_back("drop " + file.path());
                    },
                .prefill = [this](const std::string& text) { done.push_back("prefill " + text); },
                .openURLs =
                    [this](const std::vector<std::string>& addresses) {
                        for (const auto& address : addresses)
                            done.push_back("open " + address);
                    }};
    }

    testing::PrivateBus bus;
    testing::ManualDispatcher dispatcher;
    std::vector<std::string> done;
};

TEST_F(RemoteControlTest, HandsOrdersOverToTheMainThreadByteForByte) {
    EXPECT_TRUE(RemoteBar::toggle().error().isNotRunning);
    const auto control = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(control.has_value());
    EXPECT_TRUE(RemoteBar::toggle().has_value());
    EXPECT_TRUE(RemoteBar::drop({FileURL("/a b\n\xFF"), FileURL("/"), FileURL("/ü")}).has_value());
    EXPECT_TRUE(RemoteBar::prefill("rename “these”\n\xFF").has_value());
    EXPECT_TRUE(RemoteBar::openURLs({"torvo:?files=/a", "torvo:?files=/\xFF ü"}).has_value());
    EXPECT_THAT(done, IsEmpty()) << "not on the bus's thread";
    dispatcher.runPending();
    EXPECT_THAT(done, ElementsAre("toggle", "drop /a b\n\xFF", "drop /", "drop /ü", "prefill rename “these”\n\uFFFD",
                                  "open torvo:?files=/a", "open torvo:?files=/%FF %C3%BC"));

    // Ten thousand files are one call.
    const std::vector<FileURL> many(10000, FileURL("/some/folder/with/a/name.png"));
    done.clear();
    EXPECT_TRUE(RemoteBar::drop(many).has_value());
    dispatcher.runPending();
    EXPECT_EQ(done.size(), many.size());
}

TEST_F(RemoteControlTest, RefusesWhatIsNoAbsolutePath) {
    const auto control = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(control.has_value());
    const auto connection = DBusConnection::session();
    ASSERT_TRUE(connection.has_value());
    const auto call = [&](const char* arguments) {
        return (*connection)
            ->call({"org.torvo.Torvo", "/org/torvo/Torvo", "org.torvo.Torvo", "Drop"}, g_variant_new_parsed(arguments),
                   "()", std::chrono::seconds(10));
    };
    for (const char* arguments : {"([b'/a', b'b'],)", "([b''],)", "([@ay []],)", "([[byte 0x2f, 0x00, 0x61]],)"})
        EXPECT_THAT(call(arguments).error(), HasSubstr("absolute")) << arguments;
    EXPECT_FALSE(call("('/a',)").has_value()) << "a text is no list of paths";
    EXPECT_TRUE(call("([[byte 0x2f, 0x61]],)").has_value()) << "a NUL byte at the end is not needed";
    dispatcher.runPending();
    EXPECT_THAT(done, ElementsAre("drop /a"));
}

TEST_F(RemoteControlTest, IsOnlyOneAtATimeAndSilentOnceItIsGone) {
    auto first = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(first.has_value());
    const auto second = RemoteControl::start(dispatcher, actions());
    ASSERT_FALSE(second.has_value());
    EXPECT_TRUE(second.error().isNameTaken);
    EXPECT_TRUE(RemoteBar::toggle().has_value()) << "the first one still answers";
    first->reset();
    dispatcher.runPending();
    EXPECT_THAT(done, IsEmpty());
    EXPECT_TRUE(RemoteBar::toggle().error().isNotRunning);
    EXPECT_TRUE(RemoteControl::start(dispatcher, actions()).has_value()) << "the name is free again";

    const testing::ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const auto without = RemoteControl::start(dispatcher, actions());
    ASSERT_FALSE(without.has_value());
    EXPECT_FALSE(without.error().isNameTaken);
    EXPECT_TRUE(RemoteBar::toggle().error().isNotRunning);
}

} // namespace
} // namespace torvo
