#include "support/Json.h"
#include "support/Text.h"
#include "tests/support/Program.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

/// What the probe answers to these lines, one answer a line.
std::vector<Json> answers(const std::vector<std::string>& lines) {
    const testing::TemporaryFolder folder;
    testing::RunSettings settings{.program = TORVO_BIN_DIR "/torvo-probe"};
    settings.input = folder.file("lines", joined(lines, "\n") + "\n").path();
    const auto ran = testing::run({}, settings);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.errors, "");
    std::vector<Json> answers;
    for (const auto line : splitLines(ran.output))
        answers.push_back(Json::parse(line));
    return answers;
}

TEST(Probe, AnswersEveryLineInOrderWhateverItHolds) {
    const std::string good = R"({"op":"preset.normalize","in":{"text":" ZIP "}})";
    const std::string bad[] = {
        "",
        " ",
        "no JSON",
        "{",
        "[]",
        "null",
        "7",
        R"({})",
        R"({"op":7,"in":{}})",
        R"({"op":"preset.match"})",
        R"({"op":"preset.match","in":null})",
        R"({"op":"preset.match","in":[]})",
        R"({"op":"preset.match","in":{"text":1}})",
        R"({"op":"runner.gate","in":{"action":{"zipSelection":true},"context":{"folder":null,"selection":[]},"confirmed":true}})",
        R"({"op":"runner.gate","in":{"action":{"zipSelection":{}},"context":{"folder":1,"selection":[]},"confirmed":true}})",
        R"({"op":"process.errorLine","in":{"stdout":"","stderr":"","status":"x"}})",
        R"({"op":"bar.contextDescription","in":{"folder":"/f","count":-1,"dropped":false}})",
        R"({"op":"bar.contextDescription","in":{"folder":"/f","count":1.5,"dropped":false}})",
        "{\"op\":\"preset.match\",\"in\":{\"text\":\"\xff\"}}",
        good + good,
        "\xEF\xBB\xBF" + good,
        std::string(200'000, '['),
        R"({"op":"preset.match","in":)" + std::string(200'000, '{'),
        std::string(1, '\0') + good,
    };
    std::vector<std::string> lines;
    for (const auto& line : bad) {
        lines.push_back(line);
        lines.push_back(good);
    }
    lines.emplace_back(R"({"op":"no.such","in":{}})");
    const auto given = answers(lines);
    ASSERT_EQ(given.size(), lines.size());
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        EXPECT_TRUE(given[i].size() == 1 && given[i].contains("error") && given[i]["error"].is_string())
            << lines[i].substr(0, 200) << " got " << given[i].dump().substr(0, 200);
        EXPECT_EQ(given[i + 1], Json({{"out", "zip"}}));
    }
    EXPECT_EQ(given.back(), Json({{"error", "unknown op"}}));
}

TEST(Probe, OffersEachFamilyOfOperations) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"op":"preset.match","in":{"text":"jpg"}})", R"({"convertImages":{"toExt":"jpg"}})"},
        {R"({"op":"preset.match","in":{"text":"make it nice"}})", "null"},
        {R"({"op":"rules.expansion","in":{"rules":[{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","trigger":"T","expansion":"e"}],"input":" t "}})",
         R"("e")"},
        {R"({"op":"action.decode","in":{"json":"{}"}})",
         R"({"description":"Invalid number of keys found, expected one.","error":true})"},
        {R"({"op":"action.decode","in":{"json":"{\"zipSelection\":true}"}})", R"({"description":null,"error":true})"},
        {R"({"op":"llm.actionFromContent","in":{"content":"x"}})", R"({"badResponse":true})"},
        {R"({"op":"prompt.selectionText","in":{"selection":[]}})", R"("No files are currently selected.")"},
        {R"({"op":"safety.looksDestructive","in":{"command":"rm x","allowingSafeCommandSubstitutions":false}})",
         "true"},
        {R"({"op":"runner.gate","in":{"action":{"zipSelection":{}},"context":{"folder":null,"selection":[]},"confirmed":false}})",
         R"({"noop":"Select one or more items in Finder first"})"},
        {R"({"op":"runner.summary","in":{"action":{"select":{"_0":{"all":{}}}},"context":{"folder":"/f","selection":[]},"items":["/f/a"]}})",
         R"("Select all 1 item")"},
        {R"({"op":"runner.resolvePaths","in":{"output":"./a\nb\n/c\n","folder":"/f","existing":["/f/a","/c"]}})",
         R"(["/f/a","/c"])"},
        {R"({"op":"process.childPath","in":{"path":null}})",
         R"("/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin")"},
        {R"({"op":"preview.parse","in":{"output":"/a\t\n"}})", R"([{"from":"/a","to":null}])"},
        {R"({"op":"preview.validate","in":{"rows":[{"from":"/f/a","to":"/f/b"}],"selection":["/f/a"],"existing":["/","/f","/f/a"]}})",
         "null"},
        {R"({"op":"log.describe","in":{"action":{"zipSelection":{}}}})", R"({"kind":"zip-preset"})"},
        {R"({"op":"history.record","in":{"items":["a","b"],"text":"b "}})", R"(["b","a"])"},
        {R"({"op":"hotkey.decode","in":{"data":null}})",
         R"({"command":true,"control":false,"key":"space","option":false,"shift":true})"},
        {R"({"op":"bar.previewLabel","in":{"action":{"select":{"_0":{"extensions":{"_0":["png","jpg"]}}}}}})",
         R"("Select .png .jpg files")"},
        {R"({"op":"bar.contextDescription","in":{"folder":"/f/My Pictures","count":3,"dropped":true}})",
         R"("📁 My Pictures · 3 dropped")"},
        {R"({"op":"bar.chips","in":{"rules":[],"folder":"/f","selection":["/f/a.png"],"history":["x"]}})",
         R"([{"title":"JPG","input":"jpg"},{"title":"PNG","input":"png"},{"title":"Resize 1000px","input":"resize to 1000px wide"},{"title":"Make smaller","input":"make these images smaller"}])"},
        {R"({"op":"bar.progressLine","in":{"label":"Converting…","completed":3,"total":8}})",
         R"("Converting…   37% · Esc to cancel")"},
        {R"({"op":"bar.progressLine","in":{"label":"Converting…","completed":-3,"total":-8}})",
         R"("Converting…   Esc to cancel")"},
        {R"({"op":"suggestions","in":{"folder":null,"selection":[]}})", "[]"},
        {R"({"op":"operation.decodeList","in":{"json":"[{}]"}})", R"({"error":true})"},
        {R"({"op":"operation.canUndo","in":{"operation":{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","date":1,"title":"t","action":{"zipSelection":{}},"inputs":[],"outputs":["file:///f/a"],"renameMap":[],"undone":false},"existing":["/f/a"]}})",
         "true"},
        {R"({"op":"operation.subtitle","in":{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","date":1,"title":"t","action":{"zipSelection":{}},"inputs":[],"outputs":["file:///f/a"],"renameMap":[],"undone":true}})",
         R"("Created 1 file")"},
        {R"({"op":"finder.parseSelection","in":{"output":"/a \n\n/b\n"}})", R"(["/a ","/b"])"},
        {R"({"op":"finder.frame","in":{"x":100,"y":50,"width":800,"height":600,"screenHeight":900}})",
         R"({"x":100.0,"y":250.0,"width":800.0,"height":600.0})"},
        {R"({"op":"panel.place","in":{"frame":null,"expanded":true,"height":0,"screens":[{"frame":{"x":0,"y":0,"width":1600,"height":900},"visibleFrame":{"x":0,"y":0,"width":1600,"height":870}}],"main":0}})",
         R"({"x":500.0,"y":450.0,"width":600.0,"height":90.0})"},
        {R"({"op":"panel.place","in":{"frame":null,"expanded":true,"height":0,"screens":[],"main":null}})", "null"},
        {R"({"op":"hotkey.errorDescription","in":{"status":-9878}})",
         R"("That shortcut is already used by macOS or another app.")"},
    };
    std::vector<std::string> lines;
    for (const auto& row : rows)
        lines.emplace_back(row.first);
    const auto given = answers(lines);
    ASSERT_EQ(given.size(), lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(given[i], Json({{"out", Json::parse(rows[i].second)}})) << lines[i];
}

} // namespace
} // namespace torvo
