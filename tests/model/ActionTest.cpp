#include "model/Action.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

using Kind = ActionDecodingError::Kind;

std::string nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(Action, SurvivesTheRoadThroughJsonInItsExactForm) {
    const std::pair<Action, const char*> rows[] = {
        {Select{{SelectionSpec::All{}}}, R"({"select":{"_0":{"all":{}}}})"},
        {Select{{SelectionSpec::None{}}}, R"({"select":{"_0":{"none":{}}}})"},
        {Select{{SelectionSpec::Extensions{{"png", "jpg"}}}},
         R"({"select":{"_0":{"extensions":{"_0":["png","jpg"]}}}})"},
        {Select{{SelectionSpec::Extensions{}}}, R"({"select":{"_0":{"extensions":{"_0":[]}}}})"},
        {ConvertImages{"jpg"}, R"({"convertImages":{"toExt":"jpg"}})"},
        {ZipSelection{}, R"({"zipSelection":{}})"},
        {Shell{"a/b", "E", false, std::nullopt},
         R"({"shell":{"command":"a/b","destructive":false,"explanation":"E"}})"},
        {Shell{"c", "é", true, ""}, R"({"shell":{"command":"c","destructive":true,"explanation":"é","preview":""}})"},
        {SelectByCommand{"ls", "L"}, R"({"selectByCommand":{"command":"ls","explanation":"L"}})"},
    };
    for (const auto& [action, json] : rows) {
        EXPECT_EQ(compactJson(encode(action)), json);
        const auto decoded = decodeActionText(json);
        ASSERT_TRUE(decoded) << json << ": " << decoded.error().description;
        EXPECT_EQ(*decoded, action) << json;
    }
}

TEST(Action, IgnoresMembersThatNameNoCase) {
    EXPECT_EQ(decodeActionText(R"({"select":{"_0":{"all":{"x":1},"y":2}},"note":"x"})"),
              Action(Select{{SelectionSpec::All{}}}));
    EXPECT_EQ(
        decodeActionText(R"({"shell":{"command":"a","explanation":"b","destructive":true,"preview":null,"z":[]}})"),
        Action(Shell{"a", "b", true, std::nullopt}));
}

TEST(Action, AnswersEveryMalformedDocumentWithAnError) {
    const std::pair<std::string, Kind> rows[] = {
        {"{}", Kind::invalidKeyCount},
        {R"({"note":1})", Kind::invalidKeyCount},
        {R"({"zipSelection":{},"select":{"_0":{"all":{}}}})", Kind::invalidKeyCount},
        {R"({"select":{"_0":{}}})", Kind::invalidKeyCount},
        {R"({"select":{"_0":{"all":{},"none":{}}}})", Kind::invalidKeyCount},
        {R"({"zipSelection":true})", Kind::typeMismatch},
        {R"({"zipSelection":null})", Kind::typeMismatch},
        {R"({"zipSelection":[]})", Kind::typeMismatch},
        {"[]", Kind::typeMismatch},
        {"\"zipSelection\"", Kind::typeMismatch},
        {R"({"select":{"_0":{"all":[]}}})", Kind::typeMismatch},
        {R"({"select":{"_0":"all"}})", Kind::typeMismatch},
        {R"({"select":{}})", Kind::keyNotFound},
        {R"({"select":{"_0":{"extensions":{"_0":["png",1]}}}})", Kind::typeMismatch},
        {R"({"select":{"_0":{"extensions":{"_0":"png"}}}})", Kind::typeMismatch},
        {R"({"convertImages":{"toExt":1}})", Kind::typeMismatch},
        {R"({"convertImages":{}})", Kind::keyNotFound},
        {R"({"shell":{"command":"a","explanation":"b"}})", Kind::keyNotFound},
        {R"({"shell":{"command":"a","explanation":"b","destructive":1}})", Kind::typeMismatch},
        {R"({"shell":{"command":"a","explanation":"b","destructive":true,"preview":false}})", Kind::typeMismatch},
        {R"({"shell":{"command":null,"explanation":"b","destructive":true}})", Kind::typeMismatch},
        {R"({"selectByCommand":{"command":"a"}})", Kind::keyNotFound},
        {"", Kind::malformed},
        {"{", Kind::malformed},
        {R"({"zipSelection":{}} x)", Kind::malformed},
        {R"({"zipSelection":{},})", Kind::malformed},
        {"// note\n{\"zipSelection\":{}}", Kind::malformed},
        {"\xEF\xBB\xBF{\"zipSelection\":{}}", Kind::malformed},
        {"{\"convertImages\":{\"toExt\":\"\xFF\"}}", Kind::malformed},
        {"{\"convertImages\":{\"toExt\":\"\xED\xA0\x80\"}}", Kind::malformed},
        {R"({"convertImages":{"toExt":"\ud800"}})", Kind::malformed},
        {R"({"zipSelection":{"x":1e999}})", Kind::malformed},
        {R"({"zipSelection":)" + nested(600) + "}", Kind::malformed},
        {R"({"zipSelection":)" + nested(1'000'000) + "}", Kind::malformed},
        {std::string(1'000'000, '['), Kind::malformed},
        {R"({"zipSelection":")" + std::string(600, '['), Kind::malformed},
    };
    for (const auto& [json, kind] : rows) {
        const auto decoded = decodeActionText(json);
        ASSERT_FALSE(decoded) << json.substr(0, 80);
        EXPECT_EQ(decoded.error().kind, kind) << json.substr(0, 80) << ": " << decoded.error().description;
        EXPECT_FALSE(decoded.error().description.empty());
        if (kind == Kind::invalidKeyCount) {
            EXPECT_EQ(decoded.error().description, "Invalid number of keys found, expected one.");
        }
    }
    EXPECT_TRUE(decodeActionText(R"({"zipSelection":{"x":")" + std::string(600, '[') + "\\\"]" + "\"}}"))
        << "brackets inside a text are no nesting";
}

TEST(Action, ComparesTextsByCanonicalEquivalenceAndEverythingElseExactly) {
    const Shell shell{"caf\u00E9", "e", true, "p\u00E9"};
    EXPECT_EQ(Action(shell), Action(Shell{"cafe\u0301", "e", true, "pe\u0301"}));
    EXPECT_NE(Action(shell), Action(Shell{"cafe\u0301", "e", false, "pe\u0301"}));
    EXPECT_NE(Action(shell), Action(Shell{"cafe", "e", true, "pe\u0301"}));
    EXPECT_NE(Action(Shell{"c", "e", true, ""}), Action(Shell{"c", "e", true, std::nullopt}));
    EXPECT_NE(Action(Shell{"c", "E", true, ""}), Action(Shell{"c", "e", true, ""}));
    EXPECT_EQ(Action(ConvertImages{"\u212B"}), Action(ConvertImages{"\u00C5"}));
    EXPECT_NE(Action(SelectByCommand{"a", "b"}), Action(SelectByCommand{"b", "a"}));
    EXPECT_EQ(Action(SelectByCommand{"\uAC00", "b"}), Action(SelectByCommand{"\u1100\u1161", "b"}));
    using Extensions = SelectionSpec::Extensions;
    EXPECT_NE((SelectionSpec{Extensions{{"png", "jpg"}}}), (SelectionSpec{Extensions{{"jpg", "png"}}}));
    EXPECT_NE((SelectionSpec{Extensions{{"png"}}}), (SelectionSpec{Extensions{{"png", "png"}}}));
    EXPECT_EQ(SelectionSpec{Extensions{{"\u00E9"}}}, SelectionSpec{Extensions{{"e\u0301"}}});
    EXPECT_NE(SelectionSpec{Extensions{}}, SelectionSpec{SelectionSpec::All{}});
    EXPECT_NE(Action(ConvertImages{"\xFF"}), Action(ConvertImages{"\xFE"})) << "ill-formed bytes equal only themselves";
}

} // namespace
} // namespace torvo
