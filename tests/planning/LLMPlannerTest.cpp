#include "planning/LLMPlanner.h"

#include "linux/CurlHttpSession.h"
#include "planning/PlanningPrompt.h"
#include "planning/RawPlan.h"
#include "tests/support/ModelServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModelServer;
using testing::ScriptedReply;
using ::testing::SizeIs;
using Kind = LLMPlanError::Kind;

const FinderContext kContext{FileURL("/f"), {FileURL("/f/a.png"), FileURL("/f/b.mov")}};

class LLMPlannerTest : public ::testing::Test {
  protected:
    [[nodiscard]] LLMPlanner planner(std::string baseURL, std::string model = " my model") {
        return {{std::move(baseURL), std::move(model)}, &m_session, nullptr, std::nullopt};
    }
    /// The plan, or the error, as a text.
    static std::string shown(const std::expected<Action, LLMPlanError>& result) {
        if (result)
            return compactJson(encode(*result));
        const char* kinds[] = {"unsupported: ", "network: ", "badResponse"};
        return kinds[static_cast<int>(result.error().kind)] + result.error().text;
    }
    [[nodiscard]] std::string plan(const std::string& baseURL) {
        return shown(planner(baseURL).plan("make it small", kContext));
    }
    [[nodiscard]] std::string plan() { return plan(m_server.url()); }

    ModelServer m_server;
    CurlHttpSession m_session;
};

TEST_F(LLMPlannerTest, SendsOneRequestWithThinkingOff) {
    m_server.reply(R"({"command":"ls"})");
    EXPECT_EQ(plan(), compactJson(encode(Shell{"ls", "Run command", false, std::nullopt})));
    ASSERT_THAT(m_server.requests(), SizeIs(1));
    const auto request = m_server.requests()[0];
    EXPECT_EQ(request.method + " " + request.path, "POST /v1/chat/completions");
    EXPECT_EQ(request.headers.at("content-type"), "application/json");
    const Json expected{
        {"model", " my model"},
        {"stream", false},
        {"temperature", 0.1},
        {"max_tokens", 2048},
        {"response_format", {{"type", "json_object"}}},
        {"messages",
         {{{"role", "system"}, {"content", PlanningPrompt::systemPrompt(kContext, PlanningPrompt::availableTools())}},
          {{"role", "user"}, {"content", "make it small"}}}},
        {"chat_template_kwargs", {{"enable_thinking", false}}},
    };
    EXPECT_EQ(Json::parse(request.body), expected);
}

TEST_F(LLMPlannerTest, AsksOnceMoreWithThinkingOnAfterStatus400Alone) {
    m_server.queue(ScriptedReply::status(400, "unknown member"));
    m_server.reply(R"({"kind":"SELECT","command":"ls"})");
    EXPECT_EQ(plan(), compactJson(encode(SelectByCommand{"ls", "Select matching files"})));
    auto requests = m_server.requests();
    ASSERT_THAT(requests, SizeIs(2));
    auto first = Json::parse(requests[0].body);
    first.erase("chat_template_kwargs");
    first["max_tokens"] = 8192;
    EXPECT_EQ(Json::parse(requests[1].body), first);

    std::size_t count = 2;
    const std::tuple<std::vector<int>, const char*, std::size_t> rows[] = {
        {{400, 400}, "network: HTTP 400", 2}, {{400, 500}, "network: HTTP 500", 2}, {{500}, "network: HTTP 500", 1},
        {{401}, "network: HTTP 401", 1},      {{302}, "network: HTTP 302", 1},      {{204}, "badResponse", 1},
    };
    for (const auto& [statuses, result, attempts] : rows) {
        for (const int status : statuses)
            m_server.queue(ScriptedReply::status(status));
        EXPECT_EQ(plan(), result);
        EXPECT_EQ(m_server.requests().size(), count += attempts) << result;
    }
}

TEST_F(LLMPlannerTest, FindsTheServerUnderABaseURLWrittenInAnyWay) {
    const std::pair<const char*, const char*> spellings[] = {{"", ""},     {" ", "/"},      {"", "//"},
                                                             {" ", " / "}, {"", "/proxy/"}, {"//", ""}};
    for (const auto& [before, after] : spellings) {
        m_server.reply(R"({"command":"ls"})");
        (void)plan(before + m_server.url() + after);
    }
    std::vector<std::string> paths;
    for (const auto& request : m_server.requests())
        paths.push_back(request.path);
    const std::string path = "/v1/chat/completions";
    EXPECT_THAT(paths, ElementsAre(path, path, path, path, "/proxy" + path, path));

    const auto host = m_server.url().substr(7);
    for (const auto& url : {"ftp://" + host, std::string("file:///etc"), std::string("http://a b/"),
                            "http://" + host + "\n", "\thttp://" + host, std::string("http://"), "http:///" + host,
                            std::string("http://:80"), std::string("///"), std::string("x"), "http:" + host,
                            std::string("http://[::1"), std::string("http://h:99999"), std::string("http://h\x01")})
        EXPECT_EQ(plan(url), "network: Invalid endpoint URL") << url;
    for (const auto& unset : {planner("", "m"), planner(" \n", "m"), planner(m_server.url(), " \t")}) {
        EXPECT_EQ(shown(unset.plan("x", {})),
                  "unsupported: Set up a local LLM endpoint and model in Torvo Settings first.");
    }
    EXPECT_THAT(m_server.requests(), SizeIs(6));
    const auto refused = plan("http://127.0.0.1:" + std::to_string(testing::unusedPort()));
    EXPECT_TRUE(refused.starts_with("network: ") && refused.size() > 15) << refused;
}

TEST_F(LLMPlannerTest, TakesNothingButACompletionWithAPlan) {
    const auto shell = compactJson(encode(Shell{"ls", "E", false, std::nullopt}));
    for (const char* content : {"```json\n{\"command\":\"ls\",\"explanation\":\"E\"}\n```",
                                "Here it is: {\"command\":\"ls\",\"explanation\":\"E\"} Enjoy!"}) {
        m_server.reply(content);
        EXPECT_EQ(plan(), shell) << content;
    }
    m_server.reply(R"({"command":" ","explanation":"Cannot do that."})");
    EXPECT_EQ(plan(), "unsupported: Cannot do that.");
    const std::string message = R"({"message":{"content":"{\"command\":\"ls\"}"}})";
    for (const auto& body :
         {std::string(), std::string("no JSON"), std::string("[]"), std::string("{}"), std::string(R"({"choices":[]})"),
          std::string(R"({"choices":{}})"), R"({"choices":[1,)" + message + "]}", R"({"choices":[)" + message + ",1]}",
          std::string(R"({"choices":[{}]})"), std::string(R"({"choices":[{"message":"x"}]})"),
          std::string(R"({"choices":[{"message":{}}]})"), std::string(R"({"choices":[{"message":{"content":null}}]})"),
          std::string(R"({"choices":[{"message":{"content":["{}"]}}]})"), testing::chatCompletion("no plan"),
          testing::chatCompletion("[1]"), testing::chatCompletion("{\"command\":\"ls\""),
          R"({"choices":[)" + message + "]} x", "\xEF\xBB\xBF{\"choices\":[" + message + "]}",
          std::string(100'000, '[')}) {
        m_server.queue(ScriptedReply::status(200, body));
        EXPECT_EQ(plan(), "badResponse") << body.substr(0, 100);
    }
    m_server.queue(
        ScriptedReply::nothing().then(ScriptedReply::Send{"not HTTP at all\r\n\r\n"}).then(ScriptedReply::Close{}));
    EXPECT_EQ(plan(), "badResponse");
}

TEST_F(LLMPlannerTest, ListsTheModelsThatHaveANameInTheServersOrder) {
    using Code = HttpErrorCode;
    using Names = std::vector<std::string>;
    struct Row {
        int status;
        std::string body;
        std::expected<Names, Code> result;
    };
    const Row rows[] = {
        {200, R"({"data":[{"id":"b"},{},{"id":3},{"id":"a"}]})", Names{"b", "a"}},
        {200, R"({"data":[],"object":"list"})", Names{}},
        {200, R"({"data":[{"id":"a"},1]})", std::unexpected(Code::cannotParseResponse)},
        {200, R"({"data":{}})", std::unexpected(Code::cannotParseResponse)},
        {200, R"({"models":[]})", std::unexpected(Code::cannotParseResponse)},
        {200, R"([{"id":"a"}])", std::unexpected(Code::cannotParseResponse)},
        {200, "", std::unexpected(Code::cannotParseResponse)},
        {404, R"({"data":[]})", std::unexpected(Code::badServerResponse)},
        {400, R"({"data":[]})", std::unexpected(Code::badServerResponse)},
    };
    for (const auto& row : rows) {
        m_server.queue(ScriptedReply::status(row.status, row.body));
        const auto models = availableModels(" " + m_server.url() + "/", m_session);
        EXPECT_EQ(m_server.requests().back().method + m_server.requests().back().path, "GET/v1/models");
        ASSERT_EQ(models.has_value(), row.result.has_value()) << row.body;
        if (models)
            EXPECT_EQ(*models, *row.result);
        else
            EXPECT_EQ(models.error().code, row.result.error()) << row.body;
    }
    EXPECT_EQ(m_server.requests().size(), std::size(rows));
    EXPECT_EQ(availableModels("a b", m_session).error().code, Code::badURL);
    EXPECT_EQ(availableModels("http://127.0.0.1:" + std::to_string(testing::unusedPort()), m_session).error().code,
              Code::cannotConnect);
}

TEST(RawPlan, TakesDefaultsForWhateverIsMissingOrOfAnotherType) {
    EXPECT_EQ(decodeRawPlan("{}"), RawPlan{});
    EXPECT_EQ(
        decodeRawPlan(R"({"kind":1,"runnable":"no","command":[],"explanation":null,"destructive":1,"preview":" \n"})"),
        RawPlan{});
    EXPECT_EQ(
        decodeRawPlan(R"({"kind":"SELECT","runnable":false,"command":" c ","explanation":" e","destructive":true,)"
                      R"("preview":"\tp ","more":{}})"),
        (RawPlan{"select", false, " c ", " e", true, "p"}));
    for (const char* json : {"[]", "\"{}\"", "null", "", "{", "{} {}", "\xEF\xBB\xBF{}", "{\"kind\":\"\xFF\"}"})
        EXPECT_FALSE(decodeRawPlan(json)) << json;
    EXPECT_FALSE(decodeRawPlan(std::string(100'000, '[')));
}

TEST(RawPlan, IsCutOutOfFencesAndProse) {
    const std::pair<std::string, const char*> rows[] = {
        {R"({"a":1})", R"({"a":1})"},
        {"\n ```json\n{\"a\":1}\n```\n", R"({"a":1})"},
        {"```\n{\"a\":1}\n```", R"({"a":1})"},
        {"Sure! {\"a\":{}} There you go.", R"({"a":{}})"},
        {"<think>{}</think> {\"a\":1}", "{}</think> {\"a\":1}"},
        {"} then {", "} then {"},
        {"  ```json none ```  ", "none"},
        {"```` x", "` x"},
        {"", ""},
        {"{", "{"},
        {"a}{b}", "{b}"},
    };
    for (const auto& [text, json] : rows)
        EXPECT_EQ(extractJSON(text), json) << text;
}

TEST(RawPlan, BecomesAnActionWhoseDangerIsJudgedHere) {
    const std::pair<const char*, Action> rows[] = {
        {R"({"command":" ls ","explanation":"E"})", Shell{"ls", "E", false, std::nullopt}},
        {R"({"command":"ls"})", Shell{"ls", "Run command", false, std::nullopt}},
        {R"({"kind":"delete","command":"ls","destructive":true})", Shell{"ls", "Run command", true, std::nullopt}},
        {R"({"command":"rm x","destructive":false})", Shell{"rm x", "Run command", true, std::nullopt}},
        {R"-({"command":"echo $(basename x)"})-", Shell{"echo $(basename x)", "Run command", true, std::nullopt}},
        {R"({"command":"ls","preview":"echo a > b"})", Shell{"ls", "Run command", false, std::nullopt}},
        {R"({"command":"ls","preview":" echo a "})", Shell{"ls", "Run command", false, "echo a"}},
        {R"({"kind":"SELECT","command":"rm x","preview":"echo a"})", SelectByCommand{"rm x", "Select matching files"}},
        {R"({"kind":"select ","command":"ls","runnable":false})", Shell{"ls", "Run command", false, std::nullopt}},
    };
    for (const auto& [content, action] : rows)
        EXPECT_EQ(actionFromContent(content), action) << content;

    const std::pair<const char*, LLMPlanError> failures[] = {
        {R"({"command":" \n","explanation":" Not possible. "})", {Kind::unsupported, " Not possible. "}},
        {R"({"runnable":true})", {Kind::unsupported, "The local model couldn't turn that into a command."}},
        {"I cannot do that.", {Kind::badResponse, ""}},
        {R"({"command":"touch shown\u0000 and hidden"})", {Kind::badResponse, ""}},
        {R"({"command":"ls","preview":"echo\u0000"})", {Kind::badResponse, ""}},
        {"[1]", {Kind::badResponse, ""}},
        {"} {", {Kind::badResponse, ""}},
    };
    for (const auto& [content, error] : failures) {
        const auto action = actionFromContent(content);
        ASSERT_FALSE(action) << content;
        EXPECT_EQ(action.error(), error) << content;
    }
}

} // namespace
} // namespace torvo
