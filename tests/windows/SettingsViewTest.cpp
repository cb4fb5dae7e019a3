#include "windows/SettingsView.h"

#include "desktop/SettingsStore.h"
#include "planning/LLMEndpoint.h"
#include "planning/RulesStore.h"
#include "tests/support/qt/Controls.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/SettingsDesk.h"
#include "widgets/ToneLabel.h"

#include <gmock/gmock.h>

#include <QComboBox>
#include <QLabel>
#include <algorithm>
#include <filesystem>

namespace torvo::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SettingsViewTest : public ::testing::Test {
  protected:
    void open() {
        view.reset();
        view = std::make_unique<SettingsView>(desk.settings());
        view->show();
        ASSERT_TRUE(desk.bar.dispatcher->runUntil([&] { return !desk.modelSetup.isWorking(); }));
    }
    /// The colour of the one label that shows this text.
    [[nodiscard]] Tone toneOf(const QString& text) const {
        const auto* label = dynamic_cast<ToneLabel*>(control<QLabel>(*view, text));
        return label == nullptr ? Tone::primary : label->tone();
    }
    [[nodiscard]] bool waitFor(const QString& text) {
        return desk.bar.dispatcher->runUntil([&] { return shows(*view, text); });
    }
    /// Whether a line that begins so is shown.
    [[nodiscard]] bool showsLine(const QString& beginning) const {
        return std::ranges::any_of(view->findChildren<QLabel*>(), [&](const auto* label) {
            return label->isVisibleTo(view.get()) && label->text().startsWith(beginning);
        });
    }
    /// From now on no setting can be written.
    void breakSettings() const {
        const auto file = desk.bar.support / "settings.json";
        std::filesystem::remove(file.path());
        std::filesystem::create_directories((file.appendingPath("in the way")).path());
    }
    [[nodiscard]] LLMEndpoint endpoint() { return LLMEndpoint::current(desk.bar.defaults); }

    OffscreenApplication application;
    SettingsDesk desk;
    std::unique_ptr<SettingsView> view;
};

} // namespace

TEST_F(SettingsViewTest, ShortcutIsAppliedOnlyByTheButtonAndAFailingOneLeavesTheOldInForce) {
    desk.updater.isAutomatic = false;
    open();
    EXPECT_FALSE(isChecked(*view, "Automatically check for updates"));
    click(*view, "Automatically check for updates");
    click(*view, "Check for Updates…");
    EXPECT_TRUE(desk.updater.isAutomatic);
    EXPECT_EQ(desk.updater.checks, 1);

    auto* key = control<QComboBox>(*view, "Key");
    ASSERT_EQ(key->count(), 27);
    EXPECT_EQ(key->itemText(26), "Z");
    const auto pick = [&](const QString& title) {
        key->setCurrentIndex(key->findText(title));
        Q_EMIT key->activated(key->currentIndex());
    };
    click(*view, "⌘");
    click(*view, "⇧");
    click(*view, "⌥");
    click(*view, "⌃");
    pick("K");
    EXPECT_EQ(SettingsStore::hotKey(desk.bar.defaults), HotKeyConfiguration());
    click(*view, "Apply");
    EXPECT_EQ(toneOf("Shortcut set to ⌃⌥K."), Tone::success);

    desk.hotKeys.refused[kLetterKeyCodes[0]] = kHotKeyExists;
    pick("A");
    click(*view, "Apply");
    EXPECT_EQ(toneOf("That shortcut is already used by macOS or another app."), Tone::failure);
    EXPECT_EQ(key->currentText(), "A") << "the draft stays to be mended";

    // The next opening shows what is in force.
    view->hide();
    view->show();
    EXPECT_EQ(key->currentText(), "K");
    EXPECT_TRUE(isChecked(*view, "⌥"));
    EXPECT_FALSE(isChecked(*view, "⌘"));
}

TEST_F(SettingsViewTest, LoginToggleShowsTheRealStateAfterARefusal) {
    struct Case {
        LoginItemStatus status;
        std::expected<void, std::string> answer;
        bool toggledTo;
        bool needsApproval;
    };
    for (const auto& [status, answer, toggledTo, needsApproval] :
         {Case{LoginItemStatus::notRegistered, {}, true, false}, Case{LoginItemStatus::enabled, {}, false, false},
          Case{LoginItemStatus::notRegistered, std::unexpected("not allowed"), false, false},
          Case{LoginItemStatus::enabled, std::unexpected("not allowed"), true, false},
          Case{LoginItemStatus::requiresApproval, std::unexpected("not allowed"), false, true}}) {
        desk.loginItem.current = status;
        desk.loginItem.answer = answer;
        open();
        EXPECT_EQ(isChecked(*view, "Launch Torvo at login"), status == LoginItemStatus::enabled);
        click(*view, "Launch Torvo at login");
        desk.bar.dispatcher->runPending();
        EXPECT_EQ(isChecked(*view, "Launch Torvo at login"), toggledTo);
        EXPECT_EQ(shows(*view, "Could not change Launch at Login: not allowed"), !answer.has_value());
        EXPECT_EQ(shows(*view, "Approval required in System Settings."), needsApproval);
    }
    click(*view, "Open Login Items…");
    EXPECT_THAT(desk.bar.finder.workspace.opened, ElementsAre(HasSubstr("LoginItems")));
}

TEST_F(SettingsViewTest, RulesComeAndGoOneByOneAndWhatCannotBeStoredGoesBack) {
    open();
    const auto stored = [&] {
        std::vector<std::string> rules;
        const RulesStore store(desk.bar.defaults);
        for (const auto& rule : store.rules())
            rules.push_back(rule.trigger + " > " + rule.expansion);
        return rules;
    };
    EXPECT_FALSE(isEnabled(*view, "Add"));
    type(*view, "trigger", "  \u00A0");
    type(*view, "expands to…", "zip");
    EXPECT_FALSE(isEnabled(*view, "Add")) << "a trigger of spaces";
    for (const auto* trigger : {" web ", "<b>x</b>", "last"}) {
        type(*view, "trigger", trigger);
        type(*view, "expands to…", "zip");
        click(*view, "Add");
        EXPECT_FALSE(isEnabled(*view, "Add"));
    }
    click(*view, "Remove <b>x</b>");
    EXPECT_THAT(stored(), ElementsAre("web > zip", "last > zip"));
    std::vector<std::string> order;
    for (const auto* stop : tabStops(*view))
        order.push_back(nameOf(*stop).toStdString());
    EXPECT_LT(std::ranges::find(order, "Remove web"), std::ranges::find(order, "Remove last"))
        << "Tab goes from the top";
    EXPECT_FALSE(shows(*view, "<b>x</b>"));

    // Rules that the command line changed meanwhile are there at the next opening.
    view->hide();
    ASSERT_TRUE(RulesStore(desk.bar.defaults).add("other", "zip"));
    view->show();
    EXPECT_TRUE(shows(*view, "other"));

    breakSettings();
    click(*view, "Remove web");
    click(*view, "Preview every command before running (dry-run)");
    desk.bar.dispatcher->runPending();
    EXPECT_TRUE(showsLine("Could not save the settings: "));
    EXPECT_FALSE(isChecked(*view, "Preview every command before running (dry-run)")) << "what is stored counts";
}

TEST_F(SettingsViewTest, ModelOfferFollowsOllamaAndTheModelsThatAreThere) {
    struct Case {
        bool hasOllama;
        std::vector<std::string> models;
        const char* status;
        const char* button;
    };
    const char* const offered[]{"Use Recommended Model", "Get Ollama…"};
    for (const auto& [hasOllama, models, status, button] :
         {Case{false, {}, "The configured endpoint is running, but advertises no models.", "Get Ollama…"},
          Case{true, {}, "The configured endpoint is running, but advertises no models.", "Use Recommended Model"},
          Case{true, {"tiny"}, "Ready · tiny", ""}}) {
        if (hasOllama)
            desk.installTool("ollama");
        desk.bar.server.replyModels(models);
        open();
        EXPECT_TRUE(shows(*view, status)) << status;
        for (const auto* name : offered)
            EXPECT_EQ(offers(*view, name), std::string_view(name) == button) << status << name;
        if (std::string_view(button) == "Get Ollama…")
            click(*view, button);
    }
    EXPECT_THAT(desk.bar.finder.workspace.opened, ElementsAre(kOllamaDownloadPage));
    EXPECT_EQ(held(*view, "Model"), "tiny");

    // Another model than the ones there has to be set up again.
    type(*view, "Model", "huge");
    EXPECT_TRUE(offers(*view, "Use Recommended Model"));
}

TEST_F(SettingsViewTest, ConnectionTestNamesWhatTheServerOffers) {
    open();
    struct Case {
        const char* model;
        std::vector<std::string> offered;
        const char* status;
        const char* modelAfter;
    };
    for (const auto& [model, offered, status, modelAfter] :
         {Case{"", {"first", "second"}, "Connected · 2 models", "first"},
          Case{" ", {"only"}, "Connected · 1 model", "only"}, Case{"mine", {"only"}, "Connected · 1 model", "mine"},
          Case{"", {}, "Connected, but no models advertised.", ""}}) {
        type(*view, "Model", model);
        type(*view, "Base URL", " " + QString::fromStdString(desk.bar.server.url()) + " ");
        EXPECT_EQ(endpoint(), (LLMEndpoint{" " + desk.bar.server.url() + " ", model}));
        desk.bar.server.replyModels(offered);
        click(*view, "Test Connection");
        EXPECT_FALSE(isEnabled(*view, "Test Connection"));
        ASSERT_TRUE(waitFor(status)) << status;
        EXPECT_EQ(toneOf(status), Tone::success);
        EXPECT_TRUE(isEnabled(*view, "Test Connection"));
        EXPECT_EQ(held(*view, "Model"), modelAfter);
        EXPECT_EQ(endpoint().model, modelAfter);
    }

    type(*view, "Base URL", QString("http://127.0.0.1:%1").arg(unusedPort()));
    click(*view, "Test Connection");
    EXPECT_FALSE(shows(*view, "Connected, but no models advertised.")) << "what was said before is gone";
    const QString failed = "Failed: " + QString::fromStdString(httpError(HttpErrorCode::cannotConnect).description);
    ASSERT_TRUE(waitFor(failed));
    EXPECT_EQ(toneOf(failed), Tone::failure);
    type(*view, "Base URL", " ");
    EXPECT_FALSE(isEnabled(*view, "Test Connection"));
}

TEST_F(SettingsViewTest, ConnectionTestEndsWithTheAddressAndTheWindow) {
    open();
    desk.bar.server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    click(*view, "Test Connection");
    const auto requests = desk.bar.server.requests().size();
    ASSERT_TRUE(desk.bar.server.waitForRequests(requests + 1));
    type(*view, "Base URL", QString::fromStdString(desk.bar.server.url()) + "/other");
    EXPECT_TRUE(desk.bar.server.waitForHangUps(1)) << "it says nothing about another address";
    EXPECT_TRUE(isEnabled(*view, "Test Connection"));
    desk.bar.dispatcher->runPending();

    desk.bar.server.queue(ScriptedReply::nothing().then(ScriptedReply::Hang{}));
    click(*view, "Test Connection");
    ASSERT_TRUE(desk.bar.server.waitForRequests(requests + 2));
    view.reset();
    EXPECT_TRUE(desk.bar.server.waitForHangUps(2)) << "nobody waits for the answer any more";
    desk.bar.dispatcher->runPending();
}

TEST_F(SettingsViewTest, LogAndHistoryAreShownAndCleared) {
    open();
    click(*view, "Reveal Log");
    EXPECT_TRUE(shows(*view, "No command log yet."));
    EXPECT_THAT(desk.bar.finder.workspace.revealed, IsEmpty());

    desk.bar.files.file("a.txt");
    desk.bar.select({"a.txt"});
    desk.bar.enter("select all txt");
    ASSERT_TRUE(desk.bar.settles());
    ASSERT_TRUE(desk.bar.defaults.contains("commandHistory"));
    ASSERT_FALSE(desk.bar.logged().empty());
    click(*view, "Reveal Log");
    EXPECT_THAT(desk.bar.finder.workspace.revealed, ElementsAre(std::vector{desk.bar.log.fileURL()}));
    click(*view, "Clear Log");
    ASSERT_TRUE(waitFor("Command log cleared."));
    EXPECT_EQ(toneOf("Command log cleared."), Tone::secondary);
    EXPECT_FALSE(desk.bar.log.fileURL().exists());

    click(*view, "Clear Command History");
    EXPECT_TRUE(shows(*view, "Command history cleared."));
    EXPECT_FALSE(desk.bar.defaults.contains("commandHistory"));
    desk.bar.service->inputChanged("");
    desk.bar.service->historyUp();
    EXPECT_EQ(desk.bar.state().text, "");

    std::filesystem::create_directories(desk.bar.log.fileURL().appendingPath("in the way").path());
    click(*view, "Clear Log");
    EXPECT_TRUE(desk.bar.dispatcher->runUntil([&] { return showsLine("Could not clear log: "); }));
}

TEST_F(SettingsViewTest, PermissionButtonsOpenTheirPanes) {
    open();
    for (const auto& [title, pane] :
         {std::pair("Accessibility…", "?Privacy_Accessibility"), std::pair("Automation…", "?Privacy_Automation"),
          std::pair("Full Disk Access…", "?Privacy_AllFiles"),
          std::pair("Finder Extension…", "ExtensionsPreferences")}) {
        desk.bar.finder.workspace.opened.clear();
        click(*view, title);
        EXPECT_THAT(desk.bar.finder.workspace.opened, ElementsAre(HasSubstr(pane))) << title;
    }
}

TEST_F(SettingsViewTest, StoredValuesThatNobodyTypedAreShownAndNotRewritten) {
    auto& defaults = desk.bar.defaults;
    const std::string odd = "http://h\x01\n<b>";
    ASSERT_TRUE(defaults.set("llm.baseURL", odd));
    ASSERT_TRUE(defaults.set("llm.model", std::int64_t{7}));
    ASSERT_TRUE(defaults.set("globalHotKey", DefaultsData{"{\"key\":\"\xFF\"}"}));
    ASSERT_TRUE(defaults.set("dryRunPreview", std::string("yes")));
    ASSERT_TRUE(RulesStore(defaults).add(std::string(100'000, 'x') + "\x1B[31m", "<img src=x>\n\xC3"));
    desk.loginItem.answer = std::unexpected(std::string("<b>\xFF\n") + std::string(10'000, 'y'));
    open();
    click(*view, "Launch Torvo at login");
    EXPECT_TRUE(shows(*view, "<img src=x>\uFFFD\uFFFD"));
    type(*view, "Model", "m");
    EXPECT_EQ(endpoint(), (LLMEndpoint{odd, "m"}));
    for (const auto* label : view->findChildren<QLabel*>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
    view->grab();
}

TEST_F(SettingsViewTest, ToolsAreListedAndInstalled) {
    desk.installTool("zip");
    open();
    const auto count = [&](const char* state) { return controlsNamed<QLabel>(*view, state).size(); };
    EXPECT_EQ(count("Installed"), 1U);
    EXPECT_EQ(count("Optional"), desk.environment.tools().size() - 1);
    for (const auto* tool : {"brew", "sips", "ffmpeg", "magick", "gs", "qpdf", "pdfunite", "exiftool"})
        desk.installTool(tool);
    click(*view, "Install Missing Extras");
    EXPECT_FALSE(isEnabled(*view, "Installing…"));
    ASSERT_TRUE(waitFor("Optional tools installed."));
    EXPECT_EQ(count("Optional"), 0U);
    EXPECT_FALSE(offers(*view, "Install Missing Extras") || offers(*view, "Installing…"));
}

} // namespace torvo::testing
