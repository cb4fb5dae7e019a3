#include "planning/RawPlan.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

using Kind = LLMPlanError::Kind;

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
