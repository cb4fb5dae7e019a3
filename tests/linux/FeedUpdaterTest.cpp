// A real server on loopback, a real file, and a clock that the test moves.
#include "linux/FeedUpdater.h"

#include "linux/CurlHttpSession.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/ModelServer.h"
#include "tests/support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace torvo {
namespace {

using ::testing::HasSubstr;
using testing::ModelServer;
using testing::readFile;
using testing::ScriptedReply;
using namespace std::chrono_literals;

TEST(ReleaseVersion, IsOrderedByNumbersThenByPreReleases) {
    // Each is older than the next; versions on one line are equal.
    const std::vector<std::vector<const char*>> ascending{
        {"0"},
        {"0.9.9"},
        {"1.0.0-alpha"},
        {"1.0.0-alpha.1", "1-alpha.1", "1.0.0-alpha.01"},
        {"1.0.0-alpha.2"},
        {"1.0.0-alpha.10"},
        {"1.0.0-alpha.beta"},
        {"1.0.0-beta"},
        {"1.0.0-rc-1"},
        {"1.0.0", "1", "1.0", "01.00"},
        {"1.0.1"},
        {"1.9"},
        {"1.10"},
        {"1.10.0.1"},
        {"2024.01.05", "2024.1.5"},
        {"99999999999999999999999999"},
        {"100000000000000000000000000"},
    };
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j)
            for (const char* a : ascending[i])
                for (const char* b : ascending[j])
                    EXPECT_EQ(ReleaseVersion::parse(a) <=> ReleaseVersion::parse(b), i <=> j) << a << " " << b;
    for (const char* text : {"", ".", "1.", ".1", "1..2", "v1", "1.x", "1-", "1-a..b", "1-ü", " 1", "1+b", "-1"})
        EXPECT_FALSE(ReleaseVersion::parse(text).has_value()) << text;
}

TEST(ReleaseFeed, IsReadStrictly) {
    const auto release = parseReleaseFeed(R"({"version": "1.2", "url": "https://example.org/x", "size": 3})");
    EXPECT_EQ(release, (Release{"1.2", "https://example.org/x", ""}));
    struct Row {
        const char* text;
        const char* reason;
    };
    const Row rows[] = {
        {"", "no JSON"},
        {"[]", "no version"},
        {R"({"version": 1.2, "url": "https://example.org"})", "no version"},
        {R"({"version": "new", "url": "https://example.org"})", "no version"},
        {R"({"version": "1"})", "no https address"},
        {R"({"version": "1", "url": "http://example.org"})", "no https address"},
        {R"({"version": "1", "url": "file:///x"})", "no https address"},
        {R"({"version": "1", "url": "https://example.org", "notes": null})", "no text"},
    };
    for (const auto& [text, reason] : rows)
        EXPECT_THAT(parseReleaseFeed(text).error(), HasSubstr(reason)) << text;
}

class FeedUpdaterTest : public ::testing::Test {
  protected:
    FeedUpdaterTest() { restart(); }

    void restart() { restart(server.url("/feed.json")); }
    void restart(const std::string& feed) {
        updater.reset();
        updater = std::make_unique<FeedUpdater>(
            FeedUpdaterSettings{
                .feed = feed, .version = "1.2.0", .file = folder / "Torvo/updates.json", .now = [this] { return now; }},
            session, diskQueue, dispatcher);
    }
    void offer(const std::string& version) {
        server.queue(ScriptedReply::status(
            200, fmt::format(R"({{"version": "{}", "url": "https://example.org/get", "notes": "Faster."}})", version)));
    }
    /// Runs until the check is over.
    template <typename State>
    const State& ends() {
        EXPECT_TRUE(
            dispatcher.runUntil([&] { return !std::holds_alternative<UpdateState::Checking>(updater->state()); }));
        EXPECT_TRUE(std::holds_alternative<State>(updater->state())) << updater->state().index();
        static const State none{};
        const auto* state = std::get_if<State>(&updater->state());
        return state == nullptr ? none : *state;
    }

    ModelServer server;
    CurlHttpSession session;
    testing::ManualQueue diskQueue;
    testing::ManualDispatcher dispatcher;
    testing::TemporaryFolder folder;
    std::chrono::system_clock::time_point now{1'700'000'000s};
    std::unique_ptr<FeedUpdater> updater;
};

TEST(ReleaseFeed, IsFetchedFromSecureAddressesAndFromThisMachineOnly) {
    for (const char* address : {"https://example.org/feed.json", "HTTPS://example.org", "http://127.0.0.1:8080/feed",
                                "http://localhost", "http://[::1]:1/?a"})
        EXPECT_TRUE(isTrustworthyAddress(address)) << address;
    for (const char* address : {"", "http://example.org", "https:///x", "https://", "https://a b", "https://a\nb",
                                "http://localhost.example.org", "http://localhost:1@example.org/", "ftp://localhost",
                                "http://127.0.0.1.example.org/", " https://example.org", "https:example.org"})
        EXPECT_FALSE(isTrustworthyAddress(address)) << address;
}

TEST_F(FeedUpdaterTest, TellsTheUserWhatTheFeedSays) {
    int changes = 0;
    const auto subscription = updater->onChange([&] { ++changes; });
    updater->start();
    EXPECT_TRUE(std::holds_alternative<UpdateState::NotChecked>(updater->state()));
    offer("1.10");
    updater->checkForUpdates();
    EXPECT_TRUE(std::holds_alternative<UpdateState::Checking>(updater->state()));
    updater->checkForUpdates();
    EXPECT_EQ(ends<UpdateState::Newer>().release, (Release{"1.10", "https://example.org/get", "Faster."}));
    EXPECT_TRUE(updater->isAskedFor());
    EXPECT_EQ(changes, 3);
    EXPECT_EQ(server.requests().size(), 1U) << "the second question joined the first";

    for (const char* version : {"1.2.0", "1.2.0-beta", "1.1.99"}) {
        offer(version);
        updater->checkForUpdates();
        (void)ends<UpdateState::UpToDate>();
    }
    server.queue(ScriptedReply::status(500, "{}"));
    updater->checkForUpdates();
    EXPECT_THAT(ends<UpdateState::Failed>().reason, HasSubstr("status 500"));
    server.queue(ScriptedReply::status(200, "<html>"));
    updater->checkForUpdates();
    EXPECT_THAT(ends<UpdateState::Failed>().reason, HasSubstr("no JSON"));
    server.queue(ScriptedReply::nothing().then(ScriptedReply::Close{}));
    updater->checkForUpdates();
    EXPECT_THAT(ends<UpdateState::Failed>().reason, HasSubstr("Could not check for updates: "));
}

TEST_F(FeedUpdaterTest, AsksNobodyWithoutASafeFeed) {
    restart("");
    updater->setAutomaticallyChecksForUpdates(true);
    int changes = 0;
    const auto subscription = updater->onChange([&] { ++changes; });
    updater->start();
    updater->checkForUpdates();
    EXPECT_TRUE(std::holds_alternative<UpdateState::NoFeed>(updater->state()));
    EXPECT_TRUE(updater->isAskedFor());
    EXPECT_EQ(changes, 1) << "the user is told";
    restart("http://example.org/feed.json");
    updater->checkForUpdates();
    EXPECT_THAT(ends<UpdateState::Failed>().reason, HasSubstr("not https"));
}

TEST_F(FeedUpdaterTest, ChecksOnItsOwnOnceADayWhenAllowed) {
    updater->start();
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());
    now += 48h;
    dispatcher.advance(48h);
    EXPECT_TRUE(server.requests().empty());

    offer("1.2.0");
    updater->setAutomaticallyChecksForUpdates(true);
    (void)ends<UpdateState::UpToDate>();
    EXPECT_FALSE(updater->isAskedFor());
    const auto pass = [&](std::chrono::hours time) {
        now += time;
        dispatcher.advance(time);
    };
    pass(23h);
    restart();
    EXPECT_TRUE(updater->automaticallyChecksForUpdates());
    updater->start();
    EXPECT_TRUE(std::holds_alternative<UpdateState::NotChecked>(updater->state())) << "not a day yet";
    server.queue(ScriptedReply::status(500));
    pass(1h);
    (void)ends<UpdateState::Failed>();
    pass(23h);
    EXPECT_EQ(server.requests().size(), 2U) << "a failure is no reason to ask all day long";
    offer("2");
    pass(1h);
    (void)ends<UpdateState::Newer>();
    updater->setAutomaticallyChecksForUpdates(false);
    restart();
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());

    // A clock that was wrong, a file that is damaged.
    (void)folder.file("Torvo/updates.json", R"({"automatic": true, "lastCheck": 9999999999})");
    offer("1");
    restart();
    updater->start();
    (void)ends<UpdateState::UpToDate>();
    for (const char* damaged : {"", "[", R"({"automatic": 1, "lastCheck": "x"})"}) {
        (void)folder.file("Torvo/updates.json", damaged);
        restart();
        EXPECT_FALSE(updater->automaticallyChecksForUpdates()) << damaged;
    }
}

TEST_F(FeedUpdaterTest, GivesUpACheckWhenItIsStoppedOrGoesAway) {
    const auto hang = [&](std::size_t requests) {
        server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
        updater->checkForUpdates();
        return server.waitForRequests(requests);
    };
    updater->start();
    ASSERT_TRUE(hang(1));
    updater->stop();
    EXPECT_TRUE(server.waitForHangUps(1));
    updater->setAutomaticallyChecksForUpdates(true);
    (void)ends<UpdateState::Failed>();
    now += 48h;
    dispatcher.advance(48h);
    EXPECT_TRUE(std::holds_alternative<UpdateState::Failed>(updater->state())) << "no further one begins";

    restart();
    ASSERT_TRUE(hang(2));
    updater.reset();
    EXPECT_TRUE(server.waitForHangUps(2));
    dispatcher.runPending();
}

} // namespace
} // namespace torvo
