#include "execution/ActionRunner.h"

#include "execution/FailureLog.h"
#include "linux/LinuxProcessHost.h"
#include "model/CommandSafety.h"
#include "support/Text.h"
#include "tests/support/Eventually.h"
#include "tests/support/FolderSnapshot.h"
#include "tests/support/RunReports.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/UnconfiningHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <future>
#include <thread>

namespace torvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::namesOf;
using testing::readFile;
using testing::shown;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using ::testing::UnorderedElementsAre;

const Action kDeselect = Select{{SelectionSpec::None{}}};
const Action kSelectAll = Select{{SelectionSpec::All{}}};

Action selectOf(std::vector<std::string> extensions) {
    return Select{{SelectionSpec::Extensions{std::move(extensions)}}};
}

std::vector<FileURL> urls(const std::vector<std::string>& paths) {
    return {paths.begin(), paths.end()};
}

TEST(Gate, LetsAnActionRunOrSaysWhatItNeeds) {
    const Action convert = ConvertImages{"jpg"};
    const Action shell = Shell{"mv a b", "Rename", false, "printf x"};
    const Action destructive = Shell{"rm a", "Delete", true, std::nullopt};
    const Action listing = SelectByCommand{"ls *.png", "Find pictures"};
    const Action writing = SelectByCommand{"touch x", "Touch"};
    const std::optional<FileURL> here{FileURL("/f")};
    struct Row {
        const Action& action;
        std::optional<FileURL> folder;
        std::vector<std::string> selection;
        Consent consent;
        bool canConfine;
        std::string answer;
    };
    const Row rows[] = {
        {kDeselect, {}, {}, Consent::none, true, "runs"},
        {kSelectAll, {}, {"/f/a"}, Consent::given, true, "failure: Open a Finder window first"},
        {kSelectAll, here, {}, Consent::none, true, "runs"},
        {convert, {}, {"/f/a.txt", "/f/b.WebP"}, Consent::none, true, "runs"},
        {convert,
         here,
         {"/f/png", "/f/.png", "/f/a.svg"},
         Consent::given,
         true,
         "noop: Select one or more images in Finder first"},
        {ZipSelection{}, here, {"/f/a"}, Consent::none, true, "runs"},
        {ZipSelection{}, {}, {"/f/a"}, Consent::given, true, "noop: Select one or more items in Finder first"},
        {ZipSelection{}, here, {}, Consent::given, true, "noop: Select one or more items in Finder first"},
        {shell, {}, {"/f/a"}, Consent::given, true, "failure: Open a Finder window first"},
        {shell, here, {}, Consent::none, true, "needs confirmation: Rename\n$ mv a b"},
        {shell, here, {}, Consent::given, false, "runs"},
        {destructive,
         here,
         {},
         Consent::none,
         true,
         "needs confirmation: \xE2\x9A\xA0\xEF\xB8\x8F DESTRUCTIVE \xE2\x80\x94 Delete\n$ rm a"},
        {listing, {}, {}, Consent::given, true, "failure: Open a Finder window first"},
        {listing, here, {}, Consent::none, true, "runs"},
        {listing, here, {}, Consent::none, false, "needs confirmation: Find pictures\n$ ls *.png"},
        {listing, here, {}, Consent::given, false, "runs"},
        {writing, here, {}, Consent::none, true, "needs confirmation: Touch\n$ touch x"},
        {writing, here, {}, Consent::given, true, "runs"},
    };
    for (const auto& [action, folder, selection, consent, canConfine, answer] : rows) {
        const auto outcome = gate(action, {folder, urls(selection)}, consent, canConfine);
        EXPECT_EQ(outcome ? shown(*outcome) : "runs", answer) << encode(action);
    }
}

TEST(Summary, CountsWhatTheActionWouldTake) {
    testing::RecordingSelector selector;
    LinuxProcessHost host;
    const ActionRunner runner(selector, host, {},
                              [](const FileURL&) { return urls({"/f/a.png", "/f/b.PNG", "/f/c.txt"}); });
    const FinderContext open{FileURL("/f"), urls({"/f/a.png", "/f/b.GIF", "/f/c.txt"})};
    const FinderContext closed{std::nullopt, urls({"/f/a.png"})};
    const std::tuple<Action, FinderContext, const char*> rows[] = {
        {kDeselect, closed, "Clear the selection"},
        {kSelectAll, open, "Select all 3 items"},
        {kSelectAll, closed, "Select all 0 items"},
        {selectOf({"txt"}), open, "Select 1 matching file"},
        {selectOf({"png", "gif"}), open, "Select 2 matching files"},
        {ConvertImages{"heic"}, open, "Convert 2 images to HEIC"},
        {ConvertImages{"png"}, closed, "Convert 1 image to PNG"},
        {ZipSelection{}, open, "Zip 3 items into an archive"},
        {ZipSelection{}, {}, "Zip 0 items into an archive"},
        {Shell{"rm a", "Delete", true, std::nullopt}, open, "⚠️ DESTRUCTIVE — Delete\n$ rm a"},
        {SelectByCommand{"rm a", "Find"}, open, "Find\n$ rm a"},
    };
    for (const auto& [action, context, text] : rows)
        EXPECT_EQ(runner.summary(action, context), text);
}

TEST(ResolveSelection, ComparesExtensionsWithoutCaseAndKeepsTheOrder) {
    const auto items = urls({"/f/b.PNG", "/f/a.png", "/f/archive.tar.gz", "/f/README", "/f/.png", "/f/end."});
    const std::pair<std::vector<std::string>, std::vector<std::string>> rows[] = {
        {{"PNG"}, {"b.PNG", "a.png"}},
        {{"gz", "png"}, {"b.PNG", "a.png", "archive.tar.gz"}},
        {{"tar.gz"}, {}},
        {{""}, {}},
        {{}, {}},
    };
    for (const auto& [extensions, names] : rows)
        EXPECT_EQ(namesOf(resolveSelection({SelectionSpec::Extensions{extensions}}, items)), names);
}

TEST(ResolvePaths, TakesEachLineAsTheBytesOfAName) {
    const TemporaryFolder folder;
    const TemporaryFolder elsewhere;
    for (const char* name : {"a.txt", "c.txt", " spaced ", "cr\r", "\xff.odd", "sub/deep"})
        (void)folder.file(name);
    const auto abroad = elsewhere.file("b.txt").path();
    const std::string output = "./a.txt\n" + abroad +
                               "\n\nc.txt\nmissing\n spaced \nspaced\ncr\r\na.txt\r\n\xff.odd\n" +
                               std::string("a.txt\0x", 7) + "\nsub\n./sub/deep\n.//c.txt\n~\n$HOME";
    const auto home = folder.path();
    EXPECT_EQ(pathsOf(resolvePaths(output, folder.url())),
              (std::vector<std::string>{home + "/a.txt", abroad, home + "/c.txt", home + "/ spaced ", home + "/cr\r",
                                        home + "/\xff.odd", home + "/sub", home + "/sub/deep", home + "/c.txt"}));
    EXPECT_THAT(resolvePaths("", folder.url()), IsEmpty());
}

/// A runner with a folder to work in and an application-support folder of its own.
class ActionRunnerTest : public ::testing::Test {
  protected:
    [[nodiscard]] FinderContext here(const std::vector<FileURL>& selection = {}) const {
        return {m_work.url(), selection};
    }
    [[nodiscard]] std::string log() const { return readFile(m_support / "Torvo/command-errors.log"); }
    [[nodiscard]] std::vector<std::string> names() const { return namesOf(defaultLister(m_work.url())); }

    LinuxProcessHost m_host;
    TemporaryFolder m_work;
    TemporaryFolder m_support;
    testing::RecordingSelector m_selector;
    ActionRunner m_runner{m_selector, m_host, {{}, m_support.url()}};
};

TEST_F(ActionRunnerTest, SelectsWhatTheFolderHolds) {
    for (const char* name : {"a.png", "b.PNG", "c.txt", ".hidden.png", "folder.png/inner.png"})
        (void)m_work.file(name);
    EXPECT_EQ(shown(m_runner.execute(selectOf({"png"}), here(), {}, Consent::none)), "selected: 3");
    EXPECT_THAT(namesOf(m_selector.last()), UnorderedElementsAre("a.png", "b.PNG", "folder.png"));
    EXPECT_EQ(shown(m_runner.execute(kSelectAll, here(), {}, Consent::none)), "selected: 4");
    EXPECT_EQ(shown(m_runner.execute(selectOf({"mov"}), here(), {}, Consent::none)), "selected: 0");
    EXPECT_THAT(m_selector.last(), IsEmpty());
    EXPECT_EQ(shown(m_runner.execute(kSelectAll, {m_work / "missing", {}}, {}, Consent::none)), "selected: 0");
    EXPECT_EQ(shown(m_runner.execute(kSelectAll, {}, {}, Consent::none)), "failure: Open a Finder window first");
    EXPECT_EQ(m_selector.selections.size(), 4U);
    EXPECT_EQ(shown(m_runner.execute(kDeselect, {}, {}, Consent::none)), "completed: Cleared selection");
    EXPECT_THAT(m_selector.last(), IsEmpty());
}

TEST_F(ActionRunnerTest, SelectsTheNewFilesOfACommandSortedByName) {
    (void)m_work.file("old.txt");
    (void)m_work.folder("sub");
    const Shell shell{"touch z.txt sub/n.txt a.txt old.txt", "Make files", false, std::nullopt};
    std::vector<OperationProgress> progress;
    const auto outcome = m_runner.execute(
        shell, here(), [&](const OperationProgress& report) { progress.push_back(report); }, Consent::given);
    EXPECT_EQ(shown(outcome), "completed: Make files");
    EXPECT_THAT(namesOf(testing::outputsOf(outcome)), ElementsAre("a.txt", "z.txt"));
    EXPECT_THAT(m_selector.selections, ElementsAre(testing::outputsOf(outcome)));
    EXPECT_THAT(progress, ElementsAre(OperationProgress{"Running command…", std::nullopt, std::nullopt}));

    // A command that makes nothing leaves the selection alone.
    EXPECT_EQ(shown(m_runner.runShell({"true", "Nothing", false, std::nullopt}, here())), "completed: Nothing");
    EXPECT_EQ(m_selector.selections.size(), 1U);
}

TEST_F(ActionRunnerTest, HandsNamesOfAnyKindToACommandUnchanged) {
    std::vector<FileURL> selection;
    std::string expected;
    for (const auto& name : testing::oddNames("")) {
        selection.push_back(m_work.file(name));
        expected += selection.back().path() + '\0';
    }
    // The front folder is another one: the command runs where the selected files are.
    const FinderContext context{m_support.url(), selection};
    const auto outcome = m_runner.runShell(
        {"printf '%s\\0' \"$@\" >list; print -rn -- $0 >>list; cp -- \"$1\" ./new\xff", "List", false, std::nullopt},
        context);
    EXPECT_EQ(shown(outcome), "completed: List");
    EXPECT_EQ(readFile(m_work / "list"), expected + "torvo");
    EXPECT_THAT(namesOf(testing::outputsOf(outcome)), ElementsAre("list", "new\xff"));
    EXPECT_FALSE((m_work / "harm").exists());
}

TEST_F(ActionRunnerTest, LogsACommandThatFailsAndTellsOneLineOfIt) {
    const std::string command = "print -u2 first; print -u2 'cp: x: No such file or directory'; print said; exit 3";
    EXPECT_EQ(shown(m_runner.runShell({command, "Copy", false, std::nullopt}, here())),
              "failure: Command failed: cp: x: No such file or directory");
    EXPECT_EQ(log(), failureRecord({command, 3, "said\n", "first\ncp: x: No such file or directory\n"}));
    EXPECT_THAT(m_selector.selections, IsEmpty());
    EXPECT_EQ(shown(m_runner.runShell({"true", "", false, std::nullopt}, {})), "failure: Open a Finder window first");
    EXPECT_EQ(shown(m_runner.runShell({"true", "", false, std::nullopt}, {m_work / "gone", {}})).substr(0, 24),
              "failure: Command failed:");
}

TEST_F(ActionRunnerTest, DoesNotWaitForAReaderWhenTheFailureLogIsAPipe) {
    (void)m_support.folder("Torvo");
    ASSERT_EQ(::mkfifo((m_support / "Torvo/command-errors.log").path().c_str(), 0600), 0);
    EXPECT_EQ(shown(m_runner.runShell({"exit 4", "", false, std::nullopt}, here())),
              "failure: Command failed: exit code 4");
}

TEST_F(ActionRunnerTest, CancelsBeforeAndDuringACommandWithoutLoggingIt) {
    m_runner.cancelCurrent();
    const Shell early{"touch early", "", false, std::nullopt};
    EXPECT_EQ(shown(m_runner.runShell(early, here())), "failure: Cancelled");
    EXPECT_EQ(shown(m_runner.runSelectByCommand({"ls", ""}, here(), Consent::given)), "failure: Cancelled");
    EXPECT_THAT(names(), IsEmpty());
    // `execute` starts afresh.
    EXPECT_EQ(shown(m_runner.execute(early, here(), {}, Consent::given)), "completed: ");

    const std::string waiting = "touch started; trap 'exit 1' TERM; while true; do sleep 300 & wait; done";
    const Action actions[] = {Shell{waiting, "", false, std::nullopt}, SelectByCommand{waiting, ""}};
    for (const auto& action : actions) {
        std::thread user([&] {
            EXPECT_TRUE(testing::eventually([&] { return (m_work / "started").exists(); }));
            m_runner.cancelCurrent();
        });
        EXPECT_EQ(shown(m_runner.execute(action, here(), {}, Consent::given)), "failure: Cancelled");
        user.join();
        ::unlink((m_work / "started").path().c_str());
    }
    EXPECT_EQ(log(), "");
}

TEST_F(ActionRunnerTest, TakesRunsInTurnAndNeverStartsOneThatWasStopped) {
    std::stop_source first;
    std::stop_source second;
    const auto run = [&](const char* command, const std::stop_source& stop) {
        return std::async(std::launch::async, [this, command, token = stop.get_token()] {
            return shown(
                m_runner.execute(Shell{command, "done", false, std::nullopt}, here(), {}, Consent::given, token));
        });
    };
    auto running = run("touch started; sleep 100", first);
    ASSERT_TRUE(testing::eventually([&] { return (m_work / "started").exists(); }));
    auto waiting = run("touch never", second);
    auto patient = run("touch third", {});
    second.request_stop();
    EXPECT_EQ(patient.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
    first.request_stop();
    EXPECT_EQ(running.get(), "failure: Cancelled");
    EXPECT_EQ(waiting.get(), "failure: Cancelled");
    EXPECT_EQ(patient.get(), "completed: done");
    EXPECT_THAT(names(), UnorderedElementsAre("started", "third"));
}

TEST_F(ActionRunnerTest, SelectsWhatAListingPrints) {
    for (const char* name : {"a.txt", "b.txt", "\xff.odd", "n0.txt"})
        (void)m_work.file(name);
    std::vector<OperationProgress> progress;
    EXPECT_EQ(shown(m_runner.execute(
                  SelectByCommand{"find . -name '*.odd'", ""}, here(urls({"/x"})),
                  [&](const OperationProgress& report) { progress.push_back(report); }, Consent::none)),
              "selected: 1");
    EXPECT_THAT(namesOf(m_selector.last()), ElementsAre("\xff.odd"));
    EXPECT_THAT(progress, ElementsAre(OperationProgress{"Finding matching files…", std::nullopt, std::nullopt}));

    // The selection is not passed on.
    EXPECT_EQ(shown(m_runner.runSelectByCommand({"print n$#.txt", ""}, here(urls({"/x"})), Consent::given)),
              "selected: 1");
    EXPECT_EQ(shown(m_runner.runSelectByCommand({"find . -name none", ""}, here(), Consent::none)),
              "noop: No files matched");
    EXPECT_EQ(shown(m_runner.runSelectByCommand({"ls", ""}, {}, Consent::given)),
              "failure: Open a Finder window first");
    EXPECT_EQ(m_selector.selections.size(), 2U);
    EXPECT_EQ(log(), "");
    EXPECT_THAT(shown(m_runner.runSelectByCommand({"ls absent", ""}, here(), Consent::none)),
                StartsWith("failure: Selection command failed: ls: "));
    EXPECT_THAT(log(), StartsWith("===== exit 2 =====\n$ ls absent\n"));
}

TEST_F(ActionRunnerTest, ConfinesAListingThatOnlyReadsHarmless) {
    if (!m_host.canConfine())
        GTEST_SKIP() << "this kernel cannot confine";
    (void)m_work.file("f", "b\na\n");
    (void)m_work.file("keep", "precious");
    for (const char* command : {"sort '-oout' f", "sort '-okeep' f", "find . '-fprint' x",
                                "find . -name keep '-delete'", "find . -name f '-exec' 'rm' 'keep' ';'"}) {
        EXPECT_TRUE(isProvablyReadOnlySelectionCommand(command)) << command << " no longer reaches the confinement";
        const auto before = testing::takeSnapshot(m_work.path());
        (void)m_runner.runSelectByCommand({command, ""}, here(), Consent::none);
        EXPECT_EQ(testing::takeSnapshot(m_work.path()), before) << command;
    }
    const auto output = m_runner.readonlyOutput("print -r -- \"$PWD $1\"; touch new; rm keep",
                                                {std::nullopt, {m_work / "f"}}, FileURL("/"));
    EXPECT_NE(output.status, 0);
    EXPECT_EQ(output.standardOutput.text(), m_work.path() + " " + (m_work / "f").path() + "\n");
    EXPECT_THAT(names(), UnorderedElementsAre("f", "keep"));
    EXPECT_EQ(m_runner.readonlyOutput("pwd", {}, m_work.url()).standardOutput.text(), m_work.path() + "\n");
}

TEST_F(ActionRunnerTest, AsksBeforeAListingThatWouldNotBeConfined) {
    (void)m_work.file("a.txt");
    testing::UnconfiningHost host;
    ActionRunner unconfined(m_selector, host, {{}, m_support.url()});
    EXPECT_EQ(shown(unconfined.runSelectByCommand({"ls", "List"}, here(), Consent::none)),
              "needs confirmation: List\n$ ls");
    EXPECT_TRUE(unconfined.readonlyOutput("ls", here(), FileURL("/")).confinementUnavailable);
    EXPECT_EQ(shown(m_runner.runSelectByCommand({"touch x; ls", "List"}, here(), Consent::none)),
              "needs confirmation: List\n$ touch x; ls");
    EXPECT_THAT(names(), ElementsAre("a.txt"));
    EXPECT_THAT(m_selector.selections, IsEmpty());
    EXPECT_EQ(log(), "");
    EXPECT_EQ(shown(unconfined.runSelectByCommand({"touch x; ls", "List"}, here(), Consent::given)), "selected: 2");
}

} // namespace
} // namespace torvo
