#include "linux/ProgramHttpSession.h"

#include "linux/HttpMessage.h"
#include "tests/support/Eventually.h"
#include "tests/support/ModelServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>

namespace torvo {
namespace {

using testing::ModelServer;
using testing::ScriptedReply;
using ::testing::StartsWith;

constexpr const char* kProgram = TORVO_BIN_DIR "/../libexec/torvo/torvo-http";

TEST(ProgramHttpSession, TakesTheRequestAndTheReplyThroughAsTheyAre) {
    ModelServer server;
    // More than a connection between two processes holds at once.
    const std::string bytes = std::string("0:\n\xFF:") + std::string(1 << 20, 'x');
    server.queue(ScriptedReply::status(201, bytes));
    const auto answer = ProgramHttpSession(kProgram).perform({.method = HttpMethod::post,
                                                              .url = server.url("/v1/chat"),
                                                              .headers = {{"X-One", "1: 2"}, {"X-Two", "3"}},
                                                              .body = bytes},
                                                             {});
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_EQ(answer->status, 201);
    EXPECT_EQ(answer->body, bytes);
    ASSERT_EQ(server.requests().size(), 1u);
    const auto request = server.requests().front();
    EXPECT_EQ(request.path, "/v1/chat");
    EXPECT_EQ(request.body, bytes);
    EXPECT_EQ(request.headers.at("x-one"), "1: 2");
    EXPECT_EQ(request.headers.at("x-two"), "3");
}

TEST(ProgramHttpSession, SaysWhyThereIsNoReply) {
    ProgramHttpSession session(kProgram);
    ModelServer server;
    server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    const auto silent = session.perform({.url = server.url(), .silence = std::chrono::milliseconds(50)}, {});
    ASSERT_FALSE(silent);
    EXPECT_EQ(silent.error().code, HttpErrorCode::timedOut);
    EXPECT_EQ(silent.error().description, httpError(HttpErrorCode::timedOut).description);
    EXPECT_EQ(session.perform({.url = "ftp://127.0.0.1"}, {}).error().code, HttpErrorCode::unsupportedURL);
    for (const char* broken : {"/nowhere/torvo-http", "/bin/false"}) {
        const auto answer = ProgramHttpSession(broken).perform({.url = server.url()}, {});
        ASSERT_FALSE(answer);
        EXPECT_THAT(answer.error().description, StartsWith(std::string("Torvo's network program ") + broken));
    }
}

TEST(ProgramHttpSession, AStopEndsItAtOnce) {
    ModelServer server;
    server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    std::stop_source stop;
    auto answer = std::async(std::launch::async, [&] {
        return ProgramHttpSession(kProgram).perform({.url = server.url()}, stop.get_token());
    });
    ASSERT_TRUE(testing::eventually([&] { return server.requests().size() == 1; }));
    stop.request_stop();
    EXPECT_EQ(answer.get().error().code, HttpErrorCode::cancelled);
    EXPECT_EQ(ProgramHttpSession(kProgram).perform({.url = server.url()}, stop.get_token()).error().code,
              HttpErrorCode::cancelled);
}

TEST(HttpMessage, IsNothingWhenItIsCutOrMadeUp) {
    const auto answer = encodedAnswer(std::unexpected(httpError(HttpErrorCode::tooLarge)));
    for (std::size_t length = 0; length < answer.size(); ++length)
        EXPECT_FALSE(decodedAnswer(answer.substr(0, length))) << length;
    for (const char* bytes : {"5:reply", "5:error2:993:why", "-1:", "99999999999999999999:x", "5:reply1:x0:", "x"}) {
        EXPECT_FALSE(decodedAnswer(bytes)) << bytes;
        EXPECT_FALSE(decodedRequest(bytes)) << bytes;
    }
}

} // namespace
} // namespace torvo
