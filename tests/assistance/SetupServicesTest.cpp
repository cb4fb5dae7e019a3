#include "assistance/EnvironmentHealthService.h"
#include "assistance/LocalModelSetupService.h"
#include "linux/CurlHttpSession.h"
#include "linux/LinuxProcessHost.h"
#include "linux/SettingsFile.h"
#include "planning/LLMEndpoint.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeFinder.h"
#include "tests/support/ManualDispatcher.h"
#include "tests/support/ModelServer.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace torvo {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ScriptedReply;
using ::testing::StartsWith;

class SetupServicesTest : public ::testing::Test {
  protected:
    void program(const std::string& path, const std::string& script) {
        (void)folder.program(path, "#!/bin/sh\n" + script + "\n");
    }

    testing::TemporaryFolder folder;
    LinuxProcessHost processes;
    testing::FakeWorkspace workspace;
    testing::ManualDispatcher dispatcher;
};

class EnvironmentHealthServiceTest : public SetupServicesTest {
  protected:
    EnvironmentHealthService service() {
        return EnvironmentHealthService({dispatcher, processes, workspace, {first(), second()}});
    }
    [[nodiscard]] std::string first() const { return (folder / "first").path() + "/"; }
    [[nodiscard]] std::string second() const { return (folder / "second").path() + "/"; }
    std::string statusAfterInstalling(EnvironmentHealthService& health) {
        health.installMissing();
        EXPECT_TRUE(health.isInstalling());
        EXPECT_TRUE(dispatcher.runUntil([&] { return !health.isInstalling(); }));
        return health.status();
    }

    /// The process whose number brew wrote down.
    ProcessIdentity leftBehind() {
        const auto file = folder / "first/brew.pid";
        EXPECT_TRUE(testing::eventually([&] { return testing::readFile(file).ends_with('\n'); }));
        return processes.identity(std::stoi(testing::readFile(file))).value_or(ProcessIdentity{});
    }
};

TEST_F(EnvironmentHealthServiceTest, FindsToolsInItsFoldersInOrder) {
    program("second/gs", "");
    program("first/gs", "");
    (void)folder.file("first/qpdf", "not executable");
    (void)folder.folder("first/exiftool");
    program("second/exiftool", "");
    auto health = service();
    EXPECT_EQ(health.tools().size(), 8U);
    EXPECT_EQ(health.tools()[4], (ToolHealth{"gs", "PDF compression", "ghostscript", first() + "gs"}));
    EXPECT_EQ(health.tools()[5].path, std::nullopt);
    EXPECT_EQ(health.tools()[7].path, second() + "exiftool");
    EXPECT_THAT(health.missingPackages(), ElementsAre("ffmpeg", "imagemagick", "poppler", "qpdf"));
    program("first/qpdf", "");
    health.refresh();
    EXPECT_THAT(health.missingPackages(), ElementsAre("ffmpeg", "imagemagick", "poppler"));
}

TEST_F(EnvironmentHealthServiceTest, InstallsWhatIsMissing) {
    auto health = service();
    health.installMissing();
    EXPECT_EQ(health.status(), "Install Homebrew, then return here.");
    EXPECT_EQ(workspace.opened.size(), 1U);

    program("first/brew", "echo \"$*\" >&2; echo done; exit 3");
    health.installMissing();
    EXPECT_EQ(health.status(), "Installing exiftool, ffmpeg, ghostscript, imagemagick, poppler, qpdf…");
    ASSERT_TRUE(dispatcher.runUntil([&] { return !health.isInstalling(); }));
    EXPECT_EQ(health.status(), "Install failed: done");
    program("first/brew", "echo \"$*\" >&2; exit 1");
    EXPECT_EQ(statusAfterInstalling(health),
              "Install failed: install exiftool ffmpeg ghostscript imagemagick poppler qpdf");
    program("first/brew", "exit 1");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 1");
    program("first/brew", "printf '\\377\\n'; exit 2");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 2") << "what is no text cannot be shown";
    program("first/brew",
            "for tool in ffmpeg magick gs qpdf pdfunite exiftool; do cp \"$0\" \"$(dirname \"$0\")/$tool\"; done");
    EXPECT_EQ(statusAfterInstalling(health), "Optional tools installed.");
    health.installMissing();
    EXPECT_EQ(health.status(), "All optional tools are installed.") << "sips and zip come with the system";
}

TEST_F(EnvironmentHealthServiceTest, LooksAgainOnlyAfterARun) {
    auto health = service();
    (void)folder.program("first/brew", "#!/no/such/interpreter\n");
    program("first/qpdf", "");
    EXPECT_THAT(statusAfterInstalling(health), StartsWith("Install failed: "));
    EXPECT_EQ(health.tools()[5].path, std::nullopt);
    program("first/brew", "exit 1");
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: exit 1");
    EXPECT_EQ(health.tools()[5].path, first() + "qpdf");
}

TEST_F(EnvironmentHealthServiceTest, DoesNotWaitForWhatAnInstallationLeavesRunning) {
    program("first/brew", "sleep 600 & echo $! > \"$0.pid\"; echo no space left; exit 3");
    auto health = service();
    EXPECT_EQ(statusAfterInstalling(health), "Install failed: no space left");
    const auto left = leftBehind();
    EXPECT_FALSE(processes.hasEnded(left)) << "it is no business of ours";
    processes.signal(left, StopSignal::kill);
}

TEST_F(EnvironmentHealthServiceTest, EndsTheInstallationWhenItGoes) {
    program("first/brew", "trap '' TERM; sleep 600 & echo $! > \"$0.pid\"; wait; wait");
    ProcessIdentity left;
    auto begin = std::chrono::steady_clock::now();
    {
        testing::ManualDispatcher threads;
        EnvironmentHealthService health({threads, processes, workspace, {first(), second()}});
        health.installMissing();
        left = leftBehind();
        begin = std::chrono::steady_clock::now();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
    EXPECT_TRUE(testing::eventually([&] { return processes.hasEnded(left); })) << "what it started goes too";
}

/// Sends what is meant for the default server to another one, so that no real model takes part.
class Redirected final : public HttpSession {
  public:
    std::expected<HttpReply, HttpError> perform(const HttpRequest& request, const std::stop_token& stop) override {
        HttpRequest redirected = request;
        const auto root = LLMEndpoint().baseURL;
        if (redirected.url.starts_with(root))
            redirected.url.replace(0, root.size(), defaultServer);
        return m_session.perform(redirected, stop);
    }
    std::string defaultServer = "http://127.0.0.1:" + std::to_string(testing::unusedPort());

  private:
    CurlHttpSession m_session;
};

class LocalModelSetupServiceTest : public SetupServicesTest {
  protected:
    std::string statusAfterRefresh() {
        setup.refresh();
        EXPECT_TRUE(dispatcher.runUntil([&] { return !setup.isWorking(); }));
        return setup.status();
    }
    LLMEndpoint configured() { return LLMEndpoint::current(defaults); }

    SettingsFile defaults{folder / "settings.json"};
    testing::ModelServer server;
    Redirected session;
    LocalModelSetupService setup{
        {dispatcher, processes, workspace, defaults, session, {folder.path() + "/"}, folder / "Ollama.app"}};
};

TEST(PreferredModel, IsTheRecommendedThenTheConfiguredThenTheFirst) {
    EXPECT_EQ(preferredModel({"b", "qwen3:4b", "a"}, "a"), "qwen3:4b");
    EXPECT_EQ(preferredModel({"b", "a"}, "a"), "a");
    EXPECT_EQ(preferredModel({"b", "a"}, "gone"), "b");
    EXPECT_EQ(preferredModel({}, "a"), std::nullopt);
}

TEST_F(LocalModelSetupServiceTest, ConfiguresAModelThatTheServerHas) {
    (void)LLMEndpoint::setCurrent({server.url(), "other"}, defaults);
    server.replyModels({"other", "qwen3:4b"});
    EXPECT_EQ(statusAfterRefresh(), "Ready · qwen3:4b");
    EXPECT_EQ(configured(), (LLMEndpoint{server.url(), "qwen3:4b"}));
    EXPECT_THAT(setup.models(), ElementsAre("other", "qwen3:4b"));
    server.replyModels({});
    EXPECT_EQ(statusAfterRefresh(), "The configured endpoint is running, but advertises no models.");
    EXPECT_EQ(configured().model, "qwen3:4b");
    server.queue(ScriptedReply::status(500));
    EXPECT_EQ(statusAfterRefresh(), "The configured AI endpoint is not reachable.");
    EXPECT_THAT(setup.models(), IsEmpty());

    session.defaultServer = server.url();
    (void)LLMEndpoint::setCurrent({" \n", ""}, defaults);
    server.replyModels({"tiny"});
    EXPECT_EQ(statusAfterRefresh(), "Ready · tiny");
    EXPECT_EQ(configured(), (LLMEndpoint{LLMEndpoint().baseURL, "tiny"}));
    server.replyModels({});
    EXPECT_EQ(statusAfterRefresh(), "Ollama is running, but no model is installed.");
}

TEST_F(LocalModelSetupServiceTest, TellsWhatIsMissingWhenNothingAnswers) {
    EXPECT_EQ(statusAfterRefresh(), "Ollama is not installed.");
    (void)folder.folder("Ollama.app");
    EXPECT_EQ(statusAfterRefresh(), "Ollama is installed but not running.");
    std::filesystem::remove((folder / "Ollama.app").path());
    program("ollama", "");
    EXPECT_EQ(statusAfterRefresh(), "Ollama is installed but not running.");
    (void)LLMEndpoint::setCurrent({LLMEndpoint().baseURL + "/", "x"}, defaults);
    EXPECT_EQ(statusAfterRefresh(), "The configured AI endpoint is not reachable.");
}

TEST_F(LocalModelSetupServiceTest, ChecksOnceAtATime) {
    (void)LLMEndpoint::setCurrent({server.url(), ""}, defaults);
    const auto gate = std::make_shared<testing::Gate>();
    server.queue(ScriptedReply::status(200, "{\"data\":[]}").heldBy(gate));
    setup.refresh();
    EXPECT_EQ(setup.status(), "Checking local AI…");
    setup.refresh();
    gate->open();
    ASSERT_TRUE(dispatcher.runUntil([&] { return !setup.isWorking(); }));
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(LocalModelSetupServiceTest, KeepsAServerThatIsConfiguredDuringACheck) {
    (void)LLMEndpoint::setCurrent({server.url(), "old"}, defaults);
    const auto gate = std::make_shared<testing::Gate>();
    server.queue(ScriptedReply::status(200, R"({"data":[{"id":"old"}]})").heldBy(gate));
    setup.refresh();
    ASSERT_TRUE(server.waitForRequests(1));
    const LLMEndpoint other{"http://127.0.0.1:" + std::to_string(testing::unusedPort()), "new"};
    (void)LLMEndpoint::setCurrent(other, defaults);
    gate->open();
    ASSERT_TRUE(dispatcher.runUntil([&] { return !setup.isWorking(); }));
    EXPECT_EQ(configured(), other);
    EXPECT_EQ(setup.status(), "The configured AI endpoint is not reachable.") << "what is said is about the new one";
}

TEST_F(LocalModelSetupServiceTest, EndsWhatIsUnderWayWhenItGoes) {
    (void)LLMEndpoint::setCurrent({server.url(), ""}, defaults);
    server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    program("ollama", "echo started > \"$0.on\"; sleep 600");
    auto begin = std::chrono::steady_clock::now();
    {
        testing::ManualDispatcher threads;
        LocalModelSetupService going(
            {threads, processes, workspace, defaults, session, {folder.path() + "/"}, folder / "Ollama.app"});
        going.refresh();
        going.installOrSelectRecommendedModel();
        EXPECT_TRUE(server.waitForRequests(1));
        EXPECT_TRUE(testing::eventually([&] { return (folder / "ollama.on").exists(); }));
        begin = std::chrono::steady_clock::now();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_TRUE(server.waitForHangUps(1));
}

TEST_F(LocalModelSetupServiceTest, TakesTheStepThatTheSituationCallsFor) {
    const auto install = [&] {
        setup.installOrSelectRecommendedModel();
        EXPECT_TRUE(dispatcher.runUntil([&] { return !setup.isWorking(); }));
        return setup.status();
    };
    setup.installOrSelectRecommendedModel();
    EXPECT_EQ(workspace.opened.size(), 1U) << "the page where to get it";
    (void)folder.folder("Ollama.app");
    EXPECT_EQ(install(), "Ollama is installed but not running.") << "the check that follows says how it is now";
    EXPECT_THAT(workspace.openedApplications, ElementsAre(folder / "Ollama.app"));

    program("ollama", "printf 'pulling 1%%\\rpulling 2%%\\rno space left\\n\\n' >&2; exit 1");
    EXPECT_EQ(install(), "Model download failed: no space left");
    program("ollama", "exit 1");
    EXPECT_EQ(install(), "Model download failed: exit 1");
    session.defaultServer = server.url();
    server.replyModels({"small", "qwen3:4b"});
    (void)LLMEndpoint::setCurrent({"http://127.0.0.1:1", "small"}, defaults);
    program("ollama", "test \"$*\" = 'pull qwen3:4b' || exit 9");
    setup.installOrSelectRecommendedModel();
    EXPECT_EQ(setup.status(), "Downloading qwen3:4b (about 2.5 GB)…");
    ASSERT_TRUE(dispatcher.runUntil([&] { return setup.models().size() == 2; }));
    EXPECT_EQ(setup.status(), "Ready · qwen3:4b");
    EXPECT_EQ(configured(), (LLMEndpoint{LLMEndpoint().baseURL, "qwen3:4b"}));

    (void)LLMEndpoint::setCurrent({LLMEndpoint().baseURL, "small"}, defaults);
    setup.installOrSelectRecommendedModel();
    EXPECT_EQ(setup.status(), "Ready · qwen3:4b") << "it is there already";
    EXPECT_EQ(configured().model, "qwen3:4b");
    EXPECT_EQ(server.requests().size(), 1U);
}

} // namespace
} // namespace torvo
