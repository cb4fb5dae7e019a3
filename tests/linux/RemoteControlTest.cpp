// Both ends of the remote control on a real bus.
#include "linux/RemoteControl.h"

#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/PrivateBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Kind = RemoteBar::Failure::Kind;

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
                    },
                .isShown = [this] { return isShown; }};
    }
    template <typename Call>
    RemoteBar::Result asked(Call call) {
        return dispatcher.answering(std::move(call));
    }

    testing::PrivateBus bus;
    testing::ManualDispatcher dispatcher;
    std::vector<std::string> done;
    bool isShown = true;
};

TEST_F(RemoteControlTest, HandsOrdersOverToTheMainThreadByteForByte) {
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::notRunning);
    EXPECT_FALSE(RemoteBar::waitUntilRunning(std::chrono::milliseconds(1)));
    const auto control = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(control.has_value());
    EXPECT_TRUE(RemoteBar::waitUntilRunning(std::chrono::seconds(10)));
    EXPECT_TRUE(asked([] { return RemoteBar::toggle(); }));
    EXPECT_TRUE(asked([] { return RemoteBar::drop({FileURL("/a b\n\xFF"), FileURL("/"), FileURL("/ü")}); }));
    EXPECT_TRUE(asked([] { return RemoteBar::prefill("rename “these”\n\xFF"); }));
    EXPECT_TRUE(asked([] { return RemoteBar::openURLs({"torvo:?files=/a", "torvo:?files=/\xFF ü"}); }));
    EXPECT_THAT(done, ElementsAre("toggle", "drop /a b\n\xFF", "drop /", "drop /ü", "prefill rename “these”\n\uFFFD",
                                  "open torvo:?files=/a", "open torvo:?files=/%FF %C3%BC"));

    // Ten thousand files are one call.
    const std::vector<FileURL> many(10000, FileURL("/some/folder/with/a/name.png"));
    done.clear();
    EXPECT_TRUE(asked([&] { return RemoteBar::drop(many); }));
    EXPECT_EQ(done.size(), many.size());
    // What was done and showed nothing is told from what was not done.
    isShown = false;
    done.clear();
    EXPECT_EQ(asked([] { return RemoteBar::toggle(); }).error().kind, Kind::notShown);
    EXPECT_THAT(done, ElementsAre("toggle"));
}

TEST_F(RemoteControlTest, RefusesWhatIsNoAbsolutePath) {
    const auto control = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(control.has_value());
    const auto connection = DBusConnection::session();
    ASSERT_TRUE(connection.has_value());
    const auto call = [&](const char* arguments) {
        return dispatcher.answering([&] {
            return (*connection)
                ->call({"org.torvo.Torvo", "/org/torvo/Torvo", "org.torvo.Torvo", "Drop"},
                       g_variant_new_parsed(arguments), "(b)", std::chrono::seconds(10));
        });
    };
    for (const char* arguments : {"([b'/a', b'b'],)", "([b''],)", "([@ay []],)", "([[byte 0x2f, 0x00, 0x61]],)"})
        EXPECT_THAT(call(arguments).error(), HasSubstr("absolute")) << arguments;
    EXPECT_FALSE(call("('/a',)").has_value()) << "a text is no list of paths";
    EXPECT_TRUE(call("([[byte 0x2f, 0x61]],)").has_value()) << "a NUL byte at the end is not needed";
    EXPECT_THAT(done, ElementsAre("drop /a"));
}

TEST_F(RemoteControlTest, IsOnlyOneAtATimeAndSilentOnceItIsGone) {
    auto first = RemoteControl::start(dispatcher, actions());
    ASSERT_TRUE(first.has_value());
    const auto second = RemoteControl::start(dispatcher, actions());
    ASSERT_FALSE(second.has_value());
    EXPECT_TRUE(second.error().isNameTaken);
    EXPECT_TRUE(asked([] { return RemoteBar::toggle(); })) << "the first one still answers";
    done.clear();
    // An order that comes while it goes is not carried out, and that is told.
    auto late = std::async(std::launch::async, [] { return RemoteBar::toggle(); });
    EXPECT_TRUE(testing::eventually([&] { return dispatcher.isPending(); }));
    first->reset();
    dispatcher.runPending();
    EXPECT_EQ(late.get().error().kind, Kind::unreachable);
    EXPECT_THAT(done, IsEmpty());
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::notRunning);
    EXPECT_TRUE(RemoteControl::start(dispatcher, actions()).has_value()) << "the name is free again";

    const testing::ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const auto without = RemoteControl::start(dispatcher, actions());
    ASSERT_FALSE(without.has_value());
    EXPECT_FALSE(without.error().isNameTaken);
    EXPECT_EQ(RemoteBar::toggle().error().kind, Kind::unreachable);
}

} // namespace
} // namespace torvo
