#include "linux/CurlHttpSession.h"
#include "linux/HttpAddress.h"
#include "linux/HttpMessage.h"
#include "linux/ProgramHttpSession.h"
#include "tests/support/Eventually.h"
#include "tests/support/ModelServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Gt;
using ::testing::Lt;
using testing::ModelServer;
using testing::ScriptedReply;
using ::testing::StartsWith;
using Clock = std::chrono::steady_clock;
using Result = std::expected<HttpReply, HttpError>;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

Result get(const std::string& url, CurlHttpSettings settings = {}) {
    return CurlHttpSession(settings).perform({.url = url}, {});
}

/// These bytes, and then the end of the connection or something else.
ScriptedReply says(std::string bytes, ScriptedReply::Step then = ScriptedReply::Close{}) {
    return ScriptedReply::nothing().then(ScriptedReply::Send{std::move(bytes)}).then(std::move(then));
}

std::string shown(const Result& result) {
    return result ? "status " + std::to_string(result->status) : result.error().description;
}

/// What `gzip` makes of so many zero bytes.
std::string gzippedZeros(std::size_t count) {
    const std::string command = "head -c " + std::to_string(count) + " /dev/zero | gzip -9";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::string bytes;
    char buffer[4096];
    while (const std::size_t size = std::fread(buffer, 1, sizeof buffer, pipe))
        bytes.append(buffer, size);
    ::pclose(pipe);
    return bytes;
}

TEST(CurlHttpSession, SendsARequestAsItIsAndReturnsTheReply) {
    ModelServer server;
    server.reply(R"({"command":"ls"})");
    const std::string body = std::string(100'000, 'x') + "\xF0\x9F\x93\x81";
    const Result result = CurlHttpSession().perform({.method = HttpMethod::post,
                                                     .url = server.url("/v1/chat/completions"),
                                                     .headers = {{"Content-Type", "application/json"}},
                                                     .body = body},
                                                    {});
    ASSERT_TRUE(result) << shown(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->body, testing::chatCompletion(R"({"command":"ls"})"));
    ASSERT_EQ(server.requests().size(), 1u);
    const testing::ReceivedRequest request = server.requests()[0];
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v1/chat/completions");
    EXPECT_EQ(request.body, body);
    EXPECT_EQ(request.headers.at("content-type"), "application/json");
    EXPECT_FALSE(request.headers.contains("expect"));
    EXPECT_FALSE(request.headers.contains("cookie"));
}

TEST(CurlHttpSession, ReturnsEveryStatusWithItsBodyDecodedAndPutTogether) {
    ModelServer server;
    for (const int status : {201, 400, 503}) {
        server.queue(ScriptedReply::status(status, "why", {"Set-Cookie: a=b"}));
        const Result result = get(server.url());
        ASSERT_TRUE(result) << shown(result);
        EXPECT_EQ(result->status, status);
        EXPECT_EQ(result->body, "why");
    }
    EXPECT_FALSE(server.requests().back().headers.contains("cookie"));
    server.queue(ScriptedReply::status(204));
    EXPECT_EQ(get(server.url())->body, "");
    server.queue(says("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\none \r\n3\r\ntwo\r\n0\r\n\r\n"));
    EXPECT_EQ(get(server.url())->body, "one two");
    server.queue(ScriptedReply::status(200, gzippedZeros(1000), {"Content-Encoding: gzip"}));
    EXPECT_EQ(get(server.url())->body, std::string(1000, '\0'));
}

struct Failure {
    const char* name;
    ScriptedReply reply;
    HttpErrorCode code;
};

TEST(CurlHttpSession, TellsTheWaysInWhichAReplyGoesWrongApart) {
    using enum HttpErrorCode;
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string chunks = ok + "Transfer-Encoding: chunked\r\n\r\n";
    const std::string kilobyte(1000, 'x');
    const Failure failures[] = {
        {"hangs up without a reply", says(""), connectionLost},
        {"resets without a reply", says("", ScriptedReply::Reset{}), connectionLost},
        {"hangs up in the middle of the body", says(ok + "Content-Length: 100\r\n\r\nhalf"), connectionLost},
        {"hangs up in the middle of a chunk", says(chunks + "20\r\nhalf"), connectionLost},
        {"has a broken chunk", says(chunks + "xyz\r\n"), connectionLost},
        {"is not HTTP", says("SSH-2.0-OpenSSH_9.2\r\n"), badServerResponse},
        {"is plain text as of old", says("<html>hello</html>"), badServerResponse},
        {"has a broken length", ScriptedReply::status(200, "", {"Content-Length: minus one"}), badServerResponse},
        {"is not the gzip it claims to be", ScriptedReply::status(200, "plain", {"Content-Encoding: gzip"}),
         badServerResponse},
        {"has an unknown encoding", ScriptedReply::status(200, "plain", {"Content-Encoding: rot13"}),
         badServerResponse},
        {"never stops sending headers", says(ok, ScriptedReply::Send{"X-Filler: " + kilobyte + "\r\n", 100'000}),
         tooLarge},
        {"sends one endless header", says(ok + "X-Filler: ", ScriptedReply::Send{kilobyte, 100'000}), tooLarge},
        {"announces too large a body", says(ok + "Content-Length: 16777217\r\n\r\n", ScriptedReply::Hang{}), tooLarge},
        {"sends too many chunks", says(chunks, ScriptedReply::Send{"3e8\r\n" + kilobyte + "\r\n", 100'000}), tooLarge},
        {"has no length and no end", says(ok + "\r\n", ScriptedReply::Send{kilobyte, 100'000}), tooLarge},
        {"unpacks to too much", ScriptedReply::status(200, gzippedZeros(64 * kMebibyte), {"Content-Encoding: gzip"}),
         tooLarge},
    };
    for (const Failure& failure : failures) {
        ModelServer server;
        server.queue(failure.reply);
        const Result result = get(server.url());
        ASSERT_FALSE(result) << failure.name << ": " << shown(result);
        EXPECT_EQ(shown(result), httpError(failure.code).description) << failure.name;
        EXPECT_EQ(server.requests().size(), 1u) << failure.name;
    }
}

TEST(CurlHttpSession, AcceptsABodyOfExactlyTheLimit) {
    ModelServer server;
    server.queue(ScriptedReply::status(200, std::string(16 * kMebibyte, 'x')));
    const Result result = get(server.url());
    ASSERT_TRUE(result) << shown(result);
    EXPECT_EQ(result->body.size(), 16 * kMebibyte);
}

TEST(CurlHttpSession, RefusesWhatIsNotAnHttpAddress) {
    using enum HttpErrorCode;
    const std::pair<const char*, HttpErrorCode> rows[] = {
        {"", badURL},
        {"http://", badURL},
        {"http:///v1/models", badURL},
        {"http:/v1/models", badURL},
        {"HTTPS:v1/models", badURL},
        {"http://a b/v1/models", badURL},
        {"http://127.0.0.1:99999/", badURL},
        {"http://127.0.0.1:port/", badURL},
        {"http://[::1/", badURL},
        {"http://127.0.0.1/a\r\nHost: b", badURL},
        {"127.0.0.1:11434/v1/models", unsupportedURL},
        {"localhost/v1/models", unsupportedURL},
        {"/v1/models", unsupportedURL},
        {"ftp://127.0.0.1/v1/models", unsupportedURL},
        {"file:///etc/passwd", unsupportedURL},
    };
    for (const auto& [url, code] : rows) {
        const Result result = get(url);
        ASSERT_FALSE(result) << url;
        EXPECT_EQ(shown(result), httpError(code).description) << url;
    }
}

TEST(CurlHttpSession, FailsAtOnceWhenNobodyListens) {
    const auto start = Clock::now();
    const Result result = get("http://127.0.0.1:" + std::to_string(testing::unusedPort()) + "/");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, HttpErrorCode::cannotConnect);
    EXPECT_THAT(Clock::now() - start, Lt(2s));
}

TEST(CurlHttpSession, CountsSilenceFromTheLastByteAndTheWholeFromTheStart) {
    ModelServer server;
    const std::string slowHead = "HTTP/1.1 200 OK\r\nContent-Length: 40\r\n\r\n";
    const ScriptedReply silent = says(slowHead + "begin", ScriptedReply::Hang{});
    const ScriptedReply slow = says(slowHead, ScriptedReply::Trickle{std::string(40, 'x'), 20ms});

    const auto timeOf = [&](const ScriptedReply& reply, CurlHttpSettings settings) {
        server.queue(reply);
        const auto start = Clock::now();
        const Result result = get(server.url(), settings);
        EXPECT_EQ(shown(result), "The request timed out.");
        return Clock::now() - start;
    };
    EXPECT_THAT(timeOf(ScriptedReply::nothing().then(ScriptedReply::Hang{}), {.silence = 150ms}),
                AllOf(Gt(149ms), Lt(5s)));
    EXPECT_THAT(timeOf(silent, {.silence = 150ms}), AllOf(Gt(149ms), Lt(5s)));
    EXPECT_THAT(timeOf(slow, {.silence = 5s, .whole = 200ms}), AllOf(Gt(199ms), Lt(5s)));

    // Forty bytes at this pace take 800 ms, but no pause is as long as the silence that is allowed.
    server.queue(slow);
    const Result patient = get(server.url(), {.silence = 400ms});
    EXPECT_EQ(shown(patient), "status 200");

    server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    const Result own = CurlHttpSession().perform({.url = server.url(), .silence = 100ms}, {});
    EXPECT_EQ(shown(own), "The request timed out.");
}

TEST(CurlHttpSession, StopsAtOnceWhenAskedFromAnotherThread) {
    ModelServer server;
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n";
    const ScriptedReply replies[] = {says("", ScriptedReply::Hang{}), says(head + "begin", ScriptedReply::Hang{})};
    for (std::size_t round = 0; round < std::size(replies); ++round) {
        server.queue(replies[round]);
        std::stop_source stop;
        auto result = std::async(std::launch::async,
                                 [&] { return CurlHttpSession().perform({.url = server.url()}, stop.get_token()); });
        ASSERT_TRUE(server.waitForRequests(round + 1));
        const auto start = Clock::now();
        stop.request_stop();
        EXPECT_EQ(shown(result.get()), "The request was cancelled.");
        EXPECT_THAT(Clock::now() - start, Lt(1s));
        EXPECT_TRUE(server.waitForHangUps(round + 1)) << "the server must see that nobody waits any more";
    }
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_EQ(CurlHttpSession().perform({.url = server.url()}, stopped.get_token()).error().code,
              HttpErrorCode::cancelled);
    EXPECT_EQ(server.requests().size(), 2u) << "a request that was stopped before it began is never sent";
}

TEST(CurlHttpSession, RunsManyRequestsAtOnce) {
    ModelServer server;
    const auto gate = std::make_shared<testing::Gate>();
    constexpr std::size_t kCount = 8;
    for (std::size_t i = 0; i < kCount; ++i)
        server.queue(ScriptedReply::status(200, "x").heldBy(gate));
    CurlHttpSession session;
    std::vector<std::future<Result>> results;
    for (std::size_t i = 0; i < kCount; ++i)
        results.push_back(std::async(std::launch::async, [&] { return session.perform({.url = server.url()}, {}); }));
    ASSERT_TRUE(server.waitForRequests(kCount)) << "no request waits for another";
    gate->open();
    for (auto& result : results)
        EXPECT_EQ(shown(result.get()), "status 200");
}

TEST(CurlHttpSession, FollowsRedirectsWithinTheOriginOnly) {
    ModelServer server;
    ModelServer other;
    const auto redirect = [](int status, const std::string& target) {
        return ScriptedReply::status(status, "", {"Location: " + target});
    };
    for (const std::string& target :
         {other.url("/stolen"), "http://localhost:" + std::to_string(server.port()) + "/x",
          "https://127.0.0.1:" + std::to_string(server.port()) + "/x", std::string("file:///etc/passwd")}) {
        server.queue(redirect(307, target));
        const Result result =
            CurlHttpSession().perform({.method = HttpMethod::post, .url = server.url("/start"), .body = "secret"}, {});
        EXPECT_EQ(shown(result), "status 307") << target;
    }
    EXPECT_TRUE(other.requests().empty());

    server.queue(redirect(308, "/elsewhere"));
    server.queue(redirect(307, server.url("/final?x=1")));
    server.queue(ScriptedReply::status(200, "here"));
    const Result moved =
        CurlHttpSession().perform({.method = HttpMethod::post, .url = server.url("/start"), .body = "plan"}, {});
    ASSERT_TRUE(moved) << shown(moved);
    EXPECT_EQ(moved->body, "here");
    EXPECT_EQ(server.requests().back().method, "POST");
    EXPECT_EQ(server.requests().back().path, "/final?x=1");
    EXPECT_EQ(server.requests().back().body, "plan");

    // A redirect that would turn the question into a plain GET is an answer of its own.
    server.queue(redirect(302, "/login"));
    EXPECT_EQ(shown(CurlHttpSession().perform({.method = HttpMethod::post, .url = server.url()}, {})), "status 302");
    server.queue(redirect(302, "/models"));
    server.queue(ScriptedReply::status(200, "listing"));
    EXPECT_EQ(shown(get(server.url())), "status 200");

    const std::size_t before = server.requests().size();
    for (int i = 0; i < 20; ++i)
        server.queue(redirect(302, "/again"));
    EXPECT_EQ(shown(get(server.url())), "status 302");
    EXPECT_EQ(server.requests().size() - before, 6u);
}

TEST(CurlHttpSession, UsesTheProxyOfTheEnvironmentButNotForThisMachine) {
    ModelServer server;
    ModelServer proxy;
    ::setenv("http_proxy", proxy.url().c_str(), 1);
    server.queue(ScriptedReply::status(200));
    EXPECT_EQ(shown(get(server.url())), "status 200");
    EXPECT_TRUE(proxy.requests().empty());
    proxy.queue(ScriptedReply::status(200));
    EXPECT_EQ(shown(get("http://model.example:8080/v1/models")), "status 200");
    ::unsetenv("http_proxy");
    ASSERT_EQ(proxy.requests().size(), 1u);
    EXPECT_EQ(proxy.requests()[0].path, "http://model.example:8080/v1/models");
}

TEST(HttpAddress, KnowsThisMachineByItsNamesAndNumbers) {
    for (const char* url : {"http://127.0.0.1:11434", "http://127.8.9.10", "http://127.1", "http://[::1]:80",
                            "http://[::ffff:127.0.0.1]", "https://LOCALHOST/", "http://model.localhost."})
        EXPECT_TRUE(HttpAddress::parse(url)->isLoopback()) << url;
    for (const char* url : {"http://128.0.0.1", "http://10.0.0.1", "http://[fe80::1]", "http://localhost.example",
                            "http://127.0.0.1.example", "http://notlocalhost"})
        EXPECT_FALSE(HttpAddress::parse(url)->isLoopback()) << url;
}

TEST(HttpAddress, ComparesOriginsAfterNormalising) {
    const auto same = [](const char* one, const char* two) {
        return HttpAddress::parse(one)->hasSameOriginAs(*HttpAddress::parse(two));
    };
    EXPECT_TRUE(same("http://Model.Example/v1", "http://model.example:80/"));
    EXPECT_TRUE(same("https://model.example", "https://model.example:443/x?y"));
    EXPECT_FALSE(same("http://model.example", "https://model.example"));
    EXPECT_FALSE(same("http://model.example:1", "http://model.example:2"));
    EXPECT_FALSE(same("http://model.example", "http://evil.example@other.example"));
}

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
