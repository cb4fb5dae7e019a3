#include "linux/LinuxProcessHost.h"
#include "support/Json.h"
#include "support/Text.h"
#include "tests/support/Eventually.h"
#include "tests/support/ModelServer.h"
#include "tests/support/Program.h"
#include "tests/support/RunReports.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <map>
#include <sstream>

namespace torvo {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using testing::ModelServer;
using testing::Ran;
using testing::readFile;
using testing::ScriptedReply;
using ::testing::SizeIs;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using Arguments = std::vector<std::string>;

/// Runs the real program in a folder of files, with a home of its own.
class CommandLineTest : public ::testing::Test {
  protected:
    [[nodiscard]] testing::RunSettings settings() const {
        return {.program = TORVO_BIN_DIR "/torvo",
                .folder = m_work.path(),
                .environment = {"HOME=" + m_home.path(), "XDG_CONFIG_HOME=" + m_home.path() + "/config",
                                "XDG_DATA_HOME=" + m_home.path() + "/data"}};
    }
    [[nodiscard]] Ran torvo(const Arguments& arguments, const std::string& input = "") const {
        auto all = settings();
        all.input = m_home.file("input", input).path();
        return testing::run(arguments, all);
    }
    /// The one JSON object that a run prints.
    [[nodiscard]] Json json(const Arguments& arguments) const {
        const auto ran = torvo(arguments);
        EXPECT_EQ(splitLines(ran.output).size(), 1U) << ran.output << ran.errors;
        return Json::parse(ran.output, nullptr, false);
    }
    void useModel(const ModelServer& server) const {
        EXPECT_EQ(torvo({"settings", "llm.baseURL", server.url()}).status, 0);
        EXPECT_EQ(torvo({"settings", "llm.model", "m"}).status, 0);
    }
    /// Starts the program, signals it once `isReady`, and returns its exit status.
    template <typename Condition>
    int interrupt(const Arguments& arguments, int signal, Condition&& isReady) const {
        const int process = testing::start(arguments, settings(), (m_home / "out").path(), (m_home / "err").path());
        EXPECT_TRUE(isReady());
        ::kill(process, signal);
        return testing::statusOf(process);
    }

    TemporaryFolder m_work;
    TemporaryFolder m_home;
};

TEST_F(CommandLineTest, ExitsWithAStatusAndOneLineOfError) {
    (void)m_work.file("a.txt");
    struct Row {
        Arguments arguments;
        int status;
        /// The output of a success, and the error of a failure.
        const char* said;
    };
    const Row rows[] = {
        {{}, 2, "torvo: what should be done? See torvo --help\n"},
        {{"fly"}, 2, "torvo: “fly” is no command of torvo; did you mean torvo run fly FILE...? See torvo --help\n"},
        {{"run", "zip"}, 1, "torvo: No files were provided. Pass files to act on, or select some in Finder first.\n"},
        {{"run", " \t", "a.txt"}, 1, "torvo: The command was empty.\n"},
        {{"run", "", "a.txt"}, 1, "torvo: The command was empty.\n"},
        {{"run", "deselect", "a.txt"}, 0, "Cleared selection\n"},
        {{"run", "select all png", "a.txt"}, 0, "Matched 0 files.\n"},
        {{"run", "jpg", "a.txt"}, 0, "The selected images are already JPG files\n"},
        {{"run", "zip", "gone"}, 1, "torvo: One or more selected items no longer exist\n"},
        {{"run", "zip", ""}, 2, "torvo: “” names no file\n"},
        {{"run", "do\nit", "a.txt"}, 1, "torvo: Set up a local LLM endpoint and model in Torvo Settings first.\n"},
        {{"settings", "nothing"}, 2, "torvo: there is no setting named “nothing”; torvo settings lists them\n"},
        {{"settings", "dryRunPreview", "maybe"}, 2, "torvo: dryRunPreview is either on or off\n"},
        {{"rules", "add", " ", "zip"}, 2, "torvo: a rule needs a trigger and an expansion\n"},
        {{"run", "--files-from", "/", "zip"}, 2, "torvo: cannot read the list /: it is a folder\n"},
        // What is selected in the file manager is not meant.
        {{"run", "--files-from", "-", "-0", "zip"}, 2, "torvo: the list names no file\n"},
        {{"plan", "zip", "--files-from", "-"}, 2, "torvo: the list names no file\n"},
        {{"run", "--files-from", "none", "zip"}, 2, "torvo: cannot read the list none: No such file or directory\n"},
        {{"rules", "remove", "x"}, 2, "torvo: there is no rule with the identifier “x”; torvo rules lists them\n"},
    };
    for (const auto& [arguments, status, said] : rows) {
        const auto ran = torvo(arguments);
        EXPECT_EQ(ran.status, status) << joined(arguments, " ");
        EXPECT_EQ(ran.output, status == 0 ? said : "");
        EXPECT_EQ(ran.errors, status == 0 ? "" : said);
    }
    const std::pair<Arguments, int> others[] = {
        {{"--help"}, 0},
        {{"--version"}, 0},
        {{"run", "--help"}, 0},
        {{"rules", "add", "--help"}, 0},
        {{"run"}, 2},
        {{"plan"}, 2},
        {{"run", "--wrong", "zip"}, 2},
        {{"rules", "add", "x"}, 2},
        {{"settings", "llm.model", "a", "b"}, 2},
    };
    for (const auto& [arguments, status] : others) {
        const auto ran = torvo(arguments);
        EXPECT_EQ(ran.status, status) << joined(arguments, " ");
        EXPECT_EQ(ran.output.empty(), status != 0) << ran.output;
        EXPECT_EQ(splitLines(ran.errors).size(), status == 0 ? 0U : 1U) << ran.errors;
    }
}

TEST_F(CommandLineTest, TakesFilesOfAnyName) {
    auto names = testing::oddNames("");
    for (const char* name : {"run", "plan", "rules", "--json", "-x.png", "[a].png", "[a]", "[a,b]", "a,b.png", "{}",
                             "%%", "++", "zip", "a=b", "{a}"})
        names.emplace_back(name);
    Arguments arguments{"run", "zip", "--"};
    std::string list;
    for (const auto& name : names) {
        (void)m_work.file(name, name);
        arguments.push_back(name);
        list += name + '\0';
    }
    const auto done = "Zipped " + std::to_string(names.size()) + " items\n" + m_work.path();
    const auto ran = torvo(arguments);
    EXPECT_EQ(ran.output, done + "/Archive.zip\n") << ran.errors;
    const auto listed = torvo({"run", "--files-from", "-", "-0", "zip"}, list + '\0');
    EXPECT_EQ(listed.output, done + "/Archive-1.zip\n") << listed.errors;
    for (const auto& name : names)
        EXPECT_EQ(readFile(m_work / name), name);

    // One alone is no list, no option and no subcommand either.
    for (const char* name : {"[a,b]", "[]", "{}", "%%", "++", "run"}) {
        (void)m_work.file(name, name);
        EXPECT_EQ(json({"plan", "--json", "zip", name})["files"], Json({(m_work / name).path()})) << name;
    }
    // Names in a list follow those in the arguments; without -0 each takes one line.
    EXPECT_EQ(json({"plan", "zip", "./sub/../plan", "--json", "--files-from",
                    m_home.file("list", "a b\n\nx").path()})["files"],
              Json({(m_work / "plan").path(), (m_work / "a b").path(), (m_work / "x").path()}));
    // ".." after a link is what the system takes it for: the folder above the link's target.
    (void)m_work.folder("real/inner");
    std::filesystem::create_symlink("real/inner", (m_work / "link").path());
    EXPECT_EQ(json({"plan", "--json", "zip", "link/../b"})["files"], Json({(m_work / "real/b").path()}));
    const auto selected = torvo({"run", "select all txt", m_work.file("\xff.txt").path()});
    EXPECT_EQ(selected.output, "Matched 1 file.\n" + m_work.path() + "/\xff.txt\n");
}

TEST_F(CommandLineTest, PrintsOneJsonObjectWhenAskedTo) {
    EXPECT_EQ(json({"run", "--json", "--no-such-option"})["status"], "failed");
    const auto a = m_work.file("a\xff.txt").path();
    const std::string shownPath = m_work.path() + "/a\xEF\xBF\xBD.txt";
    EXPECT_EQ(json({"run", "--json", "select all txt", a}),
              Json({{"status", "done"}, {"message", "Matched 1 file."}, {"files", {shownPath}}}));
    EXPECT_EQ(
        json({"run", "jpg", a, "--json"}),
        Json({{"status", "noop"}, {"message", "The selected images are already JPG files"}, {"files", Json::array()}}));
    EXPECT_EQ(json({"run", "--json", "zip", "gone"}), Json({{"status", "failed"},
                                                            {"message", "One or more selected items no longer exist"},
                                                            {"files", Json::array()}}));
    EXPECT_EQ(json({"plan", "--json", "zip", a}), Json({{"route", "intent-preset"},
                                                        {"action", {{"zipSelection", Json::object()}}},
                                                        {"summary", "Zip 1 item into an archive"},
                                                        {"destructive", false},
                                                        {"files", {shownPath}}}));
    EXPECT_FALSE((m_work / "Archive.zip").exists()) << "planning runs nothing";
}

TEST_F(CommandLineTest, ChangesSettings) {
    const auto get = [this](const char* key) { return torvo({"settings", key}).output; };
    const auto set = [this](const char* key, const char* value) { return torvo({"settings", key, value}).status; };
    EXPECT_EQ(get("llm.baseURL"), "http://127.0.0.1:11434\n");
    EXPECT_EQ(get("autoAttach"), "true\n");
    EXPECT_EQ(get("commandLoggingEnabled"), "false\n");
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"llm.model", " [a,b] ", " [a,b] \n"},
        {"llm.model", "[x]", "[x]\n"},
        {"llm.baseURL", "http://h", "http://h\n"},
        {"autoAttach", "off", "false\n"},
        {"commandHistory", R"(["zip","jpg"])", "[\"zip\",\"jpg\"]\n"},
        {"commandHistory", "[]", "[]\n"},
        {"commandLoggingEnabled", "yes", "true\n"},
    };
    for (const auto& [key, value, shown] : rows) {
        EXPECT_EQ(set(key, value), 0) << value;
        EXPECT_EQ(get(key), shown);
    }
    EXPECT_EQ(torvo({"settings", "--unset", "llm.baseURL"}).status, 0);
    EXPECT_EQ(get("llm.baseURL"), "http://127.0.0.1:11434\n");
    for (const auto& [key, value] :
         std::map<const char*, const char*>{{"rules", "[]"}, {"commandHistory", "[1]"}, {"globalHotKey", "shift"}})
        EXPECT_EQ(set(key, value), 2) << key;
    EXPECT_NE(set("llm.model", "\xff"), 0);
    EXPECT_EQ(get("llm.model"), "[x]\n");
    EXPECT_THAT(splitLines(torvo({"settings"}).output), SizeIs(9));
}

TEST_F(CommandLineTest, KeepsRulesAndUsesThem) {
    (void)m_work.file("a.txt");
    const auto id = torvo({"rules", "add", "  Pack ", "zip"}).output;
    EXPECT_THAT(id, MatchesRegex("[0-9A-F-]+\n"));
    EXPECT_EQ(torvo({"rules"}).output, id.substr(0, 36) + "  Pack → zip\n");
    EXPECT_EQ(torvo({"run", "PACK", "a.txt"}).output, "Zipped 1 item\n" + m_work.path() + "/Archive.zip\n");
    // Triggers may be anything, also what is a word of the command line.
    for (const char* trigger : {"remove", "add", "[a,b]", "rules"})
        EXPECT_EQ(torvo({"rules", "add", trigger, "[jpg]"}).status, 0) << trigger;
    EXPECT_THAT(torvo({"rules"}).output, AllOf(HasSubstr("  remove → [jpg]\n"), HasSubstr("  [a,b] → [jpg]\n")));
    EXPECT_EQ(torvo({"rules", "remove", lowercased(id.substr(0, 36))}).status, 0);
    EXPECT_EQ(torvo({"rules", "remove", id.substr(0, 36)}).status, 2);
    EXPECT_THAT(splitLines(torvo({"rules"}).output), SizeIs(4));
}

TEST_F(CommandLineTest, ShowsWhatAPlanWouldRename) {
    ModelServer server;
    useModel(server);
    const auto a = m_work.file("a.txt").path();
    const Json plan{{"kind", "run"},
                    {"command", R"(for f in "$@"; do mv "$f" "$(dirname "$f")/new.txt"; done)"},
                    {"explanation", "Rename"},
                    {"preview", R"(for f in "$@"; do printf '%s\t%s\n' "$f" "$(dirname "$f")/new.txt"; done)"}};
    server.reply(plan.dump());
    EXPECT_EQ(torvo({"plan", "rename it", a}).output,
              "⚠️ DESTRUCTIVE — Rename\n  $ " + plan["command"].get<std::string>() +
                  "\nroute: intent-llm; needs --allow-destructive: yes\n" + a + " -> " + m_work.path() + "/new.txt\n");
    server.reply(plan.dump());
    const auto object = json({"plan", "--json", "rename it", a});
    EXPECT_EQ(object["preview"], Json::array({{{"from", a}, {"to", m_work.path() + "/new.txt"}}}));
    EXPECT_EQ(object["destructive"], true);
    EXPECT_TRUE((m_work / "a.txt").exists());
    (void)m_work.file("new.txt");
    server.reply(plan.dump());
    EXPECT_THAT(torvo({"plan", "rename it", a}).output, EndsWith("preview: new.txt already exists.\n"));
    std::filesystem::remove((m_work / "new.txt").path());

    server.reply(plan.dump());
    EXPECT_EQ(torvo({"run", "rename it", "--allow-destructive", a}).output, "Rename\n" + m_work.path() + "/new.txt\n");
    EXPECT_FALSE((m_work / "a.txt").exists());
}

TEST_F(CommandLineTest, RunsADestructiveCommandOnlyWhenThatIsAllowed) {
    ModelServer server;
    useModel(server);
    (void)m_work.file("a.txt", "text");
    const std::string reply =
        R"({"kind":"run","command":"for f in \"$@\"; do cp \"$f\" \"${f%.*}-copy.${f##*.}\"; done",)"
        R"("explanation":"Copy","destructive":false})";
    server.reply(reply);
    const auto refused = torvo({"run", "copy these", "a.txt"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.output, "");
    EXPECT_THAT(refused.errors, StartsWith("torvo: “copy these” would delete, overwrite, or move files. Turn on “Allow "
                                           "destructive changes” in this action to run it."));
    EXPECT_FALSE((m_work / "a-copy.txt").exists());
    EXPECT_FALSE((m_home / "data/Torvo/command-log.jsonl").exists());

    ASSERT_EQ(torvo({"settings", "commandLoggingEnabled", "on"}).status, 0);
    server.reply(reply);
    const auto allowed = torvo({"run", "--allow-destructive", "copy these", "a.txt"});
    EXPECT_EQ(allowed.status, 0) << allowed.errors;
    EXPECT_EQ(allowed.output, "Copy\n" + m_work.path() + "/a-copy.txt\n");
    EXPECT_EQ(readFile(m_work / "a-copy.txt"), "text");
    const auto log = readFile(m_home / "data/Torvo/command-log.jsonl");
    std::vector<std::string> events;
    std::vector<std::string> ids;
    for (const auto line : splitLines(log)) {
        events.push_back(Json::parse(line)["event"]);
        ids.push_back(Json::parse(line)["id"]);
    }
    EXPECT_THAT(events, ::testing::ElementsAre("plan", "response", "outcome"));
    EXPECT_THAT(ids, ::testing::Each(ids.at(0)));
}

TEST_F(CommandLineTest, EndsTheRunningTreeOnAnEndingSignal) {
    ModelServer server;
    useModel(server);
    (void)m_work.file("a.txt");
    LinuxProcessHost host;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::unlink((m_work / "pids").path().c_str());
        server.reply(R"({"command":"sleep 300 & print $$ $! > pids.part; mv pids.part pids; wait; touch late"})");
        std::vector<ProcessIdentity> processes;
        const int status = interrupt({"run", "--allow-destructive", "wait", "a.txt"}, signal, [&] {
            const bool isReady = testing::eventually([&] { return (m_work / "pids").exists(); });
            std::istringstream pids(readFile(m_work / "pids"));
            for (std::int32_t pid = 0; pids >> pid;)
                processes.push_back(host.identity(pid).value_or(ProcessIdentity{}));
            return isReady;
        });
        EXPECT_EQ(status, 130);
        EXPECT_EQ(readFile(m_home / "err"), "torvo: Cancelled\n");
        ASSERT_THAT(processes, SizeIs(2));
        for (const auto& process : processes)
            EXPECT_TRUE(host.hasEnded(process));
        EXPECT_FALSE((m_work / "late").exists());
    }
}

TEST_F(CommandLineTest, StopsWaitingForTheModelWhenInterrupted) {
    ModelServer server;
    useModel(server);
    for (std::size_t i = 1; const char* subcommand : {"run", "plan"}) {
        server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
        const int status =
            interrupt({subcommand, "--json", "think", "a.txt"}, SIGINT, [&] { return server.waitForRequests(i); });
        EXPECT_EQ(status, 130);
        EXPECT_EQ(readFile(m_home / "out"), "{\"files\":[],\"message\":\"Cancelled\",\"status\":\"cancelled\"}\n");
        EXPECT_TRUE(server.waitForHangUps(i++));
    }
}

TEST_F(CommandLineTest, ShowsItsProgressOnATerminalAndTakesItAway) {
    (void)m_work.file("a.txt");
    auto all = settings();
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
        testing::become({"run", "zip", "a.txt"}, all);
    std::string screen;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(terminal, buffer.data(), buffer.size())) > 0;)
        screen.append(buffer.data(), static_cast<std::size_t>(count));
    EXPECT_EQ(testing::statusOf(child), 0);
    ::close(terminal);
    EXPECT_THAT(screen, HasSubstr("\r\033[KCompressing 1 item…"));
    EXPECT_THAT(screen, EndsWith("\r\033[KZipped 1 item\r\n" + m_work.path() + "/Archive.zip\r\n"));
}

} // namespace
} // namespace torvo
