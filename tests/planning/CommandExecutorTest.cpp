#include "planning/CommandExecutor.h"

#include "linux/CurlHttpSession.h"
#include "linux/LinuxProcessHost.h"
#include "linux/SettingsFile.h"
#include "linux/ThreadQueue.h"
#include "planning/PlanningPrompt.h"
#include "planning/RulesStore.h"
#include "support/Text.h"
#include "tests/support/Eventually.h"
#include "tests/support/ModelServer.h"
#include "tests/support/RunReports.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/UnconfiningHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ModelServer;
using testing::namesOf;
using testing::ScriptedReply;
using ::testing::SizeIs;
using testing::TemporaryFolder;
using ::testing::UnorderedElementsAre;

/// The kind and the text of an outcome.
std::string shown(const Outcome& outcome) {
    if (const auto* selected = std::get_if<SelectedFiles>(&outcome))
        return "selected: " + std::to_string(selected->files.size());
    if (const auto* completed = std::get_if<Completed>(&outcome))
        return "completed: " + completed->message;
    if (const auto* noop = std::get_if<Noop>(&outcome))
        return "noop: " + noop->message;
    return "failure: " + std::get<Failure>(outcome).message;
}

/// An executor with the log switched on and a model that the test speaks for.
class CommandExecutorTest : public ::testing::Test {
  protected:
    CommandExecutorTest() {
        EXPECT_TRUE(m_settings.set("commandLoggingEnabled", true));
        EXPECT_TRUE(LLMEndpoint::setCurrent({m_server.url(), "m"}, m_settings));
    }

    /// The log's records; each is told about once.
    std::vector<Json> records() {
        m_queue.sync([] {});
        const auto log = testing::readFile(m_log.fileURL());
        std::vector<Json> all;
        for (const auto line : splitLines(log))
            all.push_back(Json::parse(line));
        std::vector<Json> fresh(all.begin() + static_cast<std::ptrdiff_t>(m_seen), all.end());
        m_seen = all.size();
        return fresh;
    }
    /// What a command with a message about itself would print, or why there is no plan.
    std::string refusal(std::string_view command, const std::vector<FileURL>& files) {
        const auto plan = m_executor.plan(command, files);
        return plan ? "planned" : plan.error().message;
    }
    Plan planOf(Action action, const std::vector<FileURL>& selection = {}) const {
        return {std::move(action), {m_work.url(), selection}, false, "", m_id, "intent-preset"};
    }

    TemporaryFolder m_work;
    TemporaryFolder m_support;
    ModelServer m_server;
    SettingsFile m_settings{m_support / "settings.json"};
    CurlHttpSession m_session;
    LinuxProcessHost m_host;
    ThreadQueue m_queue;
    CommandLog m_log{m_support / "log.jsonl", m_settings, m_queue};
    PresetPlanner m_presets;
    CommandExecutor::Services m_services{
        m_settings, m_session, m_host, m_log, {{.imageTool = TORVO_BIN_DIR "/sips"}, m_support.url()}};
    CommandExecutor m_executor{m_presets, m_services};
    UUID m_id = UUID::random();
    std::size_t m_seen = 0;
};

TEST_F(CommandExecutorTest, PlansWithTheGrammarAfterTheUsersRules) {
    const std::vector<FileURL> files{FileURL("/one/a.png"), FileURL("/two/b\xff.txt")};
    ASSERT_TRUE(RulesStore(m_settings).add("pack", "zip"));
    const auto plan = m_executor.plan(" PACK\t", files);
    ASSERT_TRUE(plan) << plan.error().message;
    EXPECT_EQ(plan->action, Action(ZipSelection{}));
    EXPECT_EQ(plan->context.folder, FileURL("/one"));
    EXPECT_EQ(plan->context.selection, files);
    EXPECT_FALSE(plan->destructive);
    EXPECT_EQ(plan->summary, "Zip 2 items into an archive");
    EXPECT_EQ(plan->route, "intent-preset");
    const auto written = records();
    ASSERT_THAT(written, SizeIs(1));
    auto record = written[0];
    record.erase("ts");
    EXPECT_EQ(record, Json({{"event", "plan"},
                            {"id", plan->logID.text()},
                            {"route", "intent-preset"},
                            {"input", "zip"},
                            {"selection", {"/one/a.png", "/two/b\xEF\xBF\xBD.txt"}},
                            {"folder", "/one"},
                            {"action", {{"kind", "zip-preset"}}}}));

    // Line breaks are not trimmed off, and rules that cannot be read are no rules.
    ASSERT_TRUE(m_settings.set("rules", "broken"));
    EXPECT_TRUE(m_executor.plan(" zip\n", files));
    EXPECT_EQ(records().at(0)["input"], "zip\n");
    EXPECT_THAT(m_server.requests(), IsEmpty());
}

TEST_F(CommandExecutorTest, PlansWithTheModelAndJudgesItsCommand) {
    struct Row {
        const char* content;
        Action action;
        bool destructive;
        const char* summary;
    };
    const Row rows[] = {
        {R"({"command":"rm a","explanation":"E","destructive":false})", Shell{"rm a", "E", true, std::nullopt}, true,
         "⚠️ DESTRUCTIVE — E\n$ rm a"},
        {R"({"command":"ls","explanation":"E"})", Shell{"ls", "E", false, std::nullopt}, false, "E\n$ ls"},
        {R"({"kind":"select","command":"ls | tee x"})", SelectByCommand{"ls | tee x", "Select matching files"}, true,
         "Select matching files\n$ ls | tee x"},
    };
    for (const auto& row : rows) {
        m_server.reply(row.content);
        const auto plan = m_executor.plan("do it\n", {m_work / "a"});
        ASSERT_TRUE(plan) << plan.error().message;
        EXPECT_EQ(plan->action, row.action);
        EXPECT_EQ(plan->destructive, row.destructive) << row.content;
        EXPECT_EQ(plan->summary, row.summary);
        EXPECT_EQ(plan->route, "intent-llm");
        const auto written = records();
        ASSERT_THAT(written, SizeIs(2));
        EXPECT_EQ(written[0]["route"], "intent-llm");
        EXPECT_EQ(written[0]["input"], "do it\n");
        EXPECT_EQ(written[0]["endpoint"], m_server.url());
        EXPECT_EQ(written[0]["model"], "m");
        EXPECT_EQ(written[0]["tools"], Json(PlanningPrompt::availableTools()));
        EXPECT_FALSE(written[0].contains("action"));
        EXPECT_EQ(written[1]["content"], row.content);
        for (const auto& record : written)
            EXPECT_EQ(record["id"], plan->logID.text());
    }
}

TEST_F(CommandExecutorTest, SaysInOneSentenceWhyTheModelMadeNoPlan) {
    struct Row {
        ScriptedReply reply;
        const char* message;
        std::size_t responses;
    };
    const Row rows[] = {
        {ScriptedReply::status(503), "Couldn't reach the local model (HTTP 503).", 0},
        {ScriptedReply::status(200, "x"), "The local model returned an unexpected response.", 0},
        {ScriptedReply::status(200, testing::chatCompletion("x")), "The local model returned an unexpected response.",
         1},
        {ScriptedReply::status(200, testing::chatCompletion(R"({"explanation":"I cannot."})")), "I cannot.", 1},
    };
    for (const auto& row : rows) {
        m_server.queue(row.reply);
        EXPECT_EQ(refusal("do it", {m_work / "a"}), row.message);
        const auto written = records();
        ASSERT_EQ(written.size(), 2 + row.responses) << row.message;
        EXPECT_EQ(written.back()["event"], "outcome");
        EXPECT_EQ(written.back()["outcome"], "plan-failed");
        EXPECT_EQ(written.back()["detail"], row.message);
        EXPECT_EQ(written.back()["id"], written.front()["id"]);
    }
    ASSERT_TRUE(LLMEndpoint::setCurrent({"no url", "m"}, m_settings));
    EXPECT_EQ(refusal("do it", {m_work / "a"}), "Couldn't reach the local model (Invalid endpoint URL).");
    ASSERT_TRUE(LLMEndpoint::setCurrent({m_server.url(), ""}, m_settings));
    EXPECT_EQ(refusal("do it", {m_work / "a"}), "Set up a local LLM endpoint and model in Torvo Settings first.");
    EXPECT_EQ(m_server.requests().size(), std::size(rows));
}

TEST_F(CommandExecutorTest, ExecutesAPlanAndLogsWhatCameOfIt) {
    (void)m_work.file("a.txt");
    (void)m_work.file("b.TXT");
    struct Row {
        Action action;
        Consent consent;
        const char* outcome;
        /// Event and detail in the log; nothing is logged when null.
        const char* logged;
    };
    const Row rows[] = {
        {Select{{SelectionSpec::Extensions{{"txt"}}}}, Consent::none, "selected: 2", "selected 2"},
        {Select{{SelectionSpec::None{}}}, Consent::none, "completed: Cleared selection", "completed Cleared selection"},
        {SelectByCommand{"ls a.txt", ""}, Consent::none, "selected: 1", "selected 1"},
        {SelectByCommand{"touch new", "Look"}, Consent::none,
         "failure: This command needs confirmation: Look\n$ touch new", nullptr},
        {SelectByCommand{"find . -name none", ""}, Consent::none, "noop: No files matched", "noop No files matched"},
        {Shell{"cp a.txt made", "Copy", true, std::nullopt}, Consent::given, "completed: Copy", "completed Copy"},
        {Shell{"exit 7", "", false, std::nullopt}, Consent::given, "failure: Command failed: exit code 7",
         "failed Command failed: exit code 7"},
        {ZipSelection{}, Consent::none, "completed: Zipped 1 item", "completed Zipped 1 item"},
        {ConvertImages{"jpg"}, Consent::none, "noop: The selected images are already JPG files",
         "noop The selected images are already JPG files"},
    };
    for (const auto& row : rows) {
        const auto outcome = m_executor.execute(planOf(row.action, {m_work / "a.txt"}), row.consent);
        EXPECT_EQ(shown(outcome), row.outcome);
        const auto written = records();
        ASSERT_EQ(written.size(), row.logged == nullptr ? 0U : 1U) << row.outcome;
        for (const auto& record : written) {
            EXPECT_EQ(record["outcome"].get<std::string>() + " " + record["detail"].get<std::string>(), row.logged);
            EXPECT_EQ(record["id"], m_id.text());
        }
    }
    EXPECT_FALSE((m_work / "new").exists());
    const auto made = m_executor.execute(planOf(Shell{"touch z y", "", false, std::nullopt}), Consent::given);
    EXPECT_THAT(namesOf(std::get<Completed>(made).outputs), ElementsAre("y", "z"));
    const auto all = m_executor.execute(planOf(Select{{SelectionSpec::Extensions{{"txt"}}}}), Consent::none);
    EXPECT_THAT(namesOf(std::get<SelectedFiles>(all).files), UnorderedElementsAre("a.txt", "b.TXT"));
}

TEST_F(CommandExecutorTest, PreviewsTheRenamesOfAPlanWithoutChangingAnything) {
    const auto a = m_work.file("a");
    const auto preview = [&](const CommandExecutor& executor, std::string command) {
        const auto rows = executor.preview(planOf(Shell{"true", "", true, std::move(command)}, {a}), FileURL("/"));
        return rows ? std::to_string(rows->size()) + " rows" : rows.error().message;
    };
    EXPECT_EQ(m_executor.preview(planOf(ZipSelection{}, {a}), FileURL("/")).value_or(std::vector<PreviewRow>(9)).size(),
              0U);
    if (m_host.canConfine()) {
        EXPECT_EQ(preview(m_executor, "print -r -- \"$1\t$1.bak\""), "1 rows");
        EXPECT_EQ(preview(m_executor, "print -r -- \"$1\t$1\""), "a would not change.");
        EXPECT_EQ(preview(m_executor, "true"), "The preview produced no changes.");
        EXPECT_EQ(preview(m_executor, "print -u2 oops; exit 1"), "Couldn't prepare a safe preview: oops");
        EXPECT_TRUE(preview(m_executor, "mv $1 $1.bak || exit 1").starts_with("Couldn't prepare a safe preview: "));
    }
    testing::UnconfiningHost host;
    const CommandExecutor unconfined(m_presets, {m_settings, m_session, host, m_log, {{}, m_support.url()}});
    EXPECT_EQ(preview(unconfined, "touch new; print -r -- \"$1\t$1.bak\""),
              "No preview is possible: this machine cannot confine it to reading.");
    EXPECT_THAT(namesOf(defaultLister(m_work.url())), ElementsAre("a"));
}

} // namespace
} // namespace torvo
