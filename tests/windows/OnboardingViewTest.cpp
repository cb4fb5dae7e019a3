#include "windows/OnboardingView.h"

#include "tests/support/qt/Controls.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/SettingsDesk.h"
#include "widgets/SymbolLabel.h"

#include <gmock/gmock.h>

#include <QTest>

namespace torvo::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class OnboardingViewTest : public ::testing::Test {
  protected:
    void open() {
        view = std::make_unique<OnboardingView>(desk.onboarding(), [this] { ++closings; });
        reopen();
    }
    void reopen() {
        view->hide();
        view->show();
        ASSERT_TRUE(desk.bar.dispatcher->runUntil([&] { return !desk.modelSetup.isWorking(); }));
    }
    /// What the badges of the permissions show.
    [[nodiscard]] std::string badges() const {
        std::string text;
        for (const auto* widget : view->findChildren<QWidget*>()) {
            if (const auto* badge = dynamic_cast<const NumberBadge*>(widget))
                text += badge->isDone() ? "✓" : std::to_string(badge->number());
        }
        return text;
    }

    OffscreenApplication application;
    SettingsDesk desk;
    int closings = 0;
    std::unique_ptr<OnboardingView> view;
};

} // namespace

TEST_F(OnboardingViewTest, TrustIsReadWhenTheWindowOpensAndByTheButtonAlone) {
    auto& accessibility = desk.bar.finder.accessibility;
    const auto become = [&](const char* wanted) {
        return desk.bar.dispatcher->runUntil([&] { return badges() == wanted; });
    };
    accessibility.isAllowed = true;
    open();
    ASSERT_TRUE(become("✓234"));
    accessibility.isAllowed = false;
    desk.modelSetup.refresh();
    ASSERT_TRUE(desk.bar.dispatcher->runUntil([&] { return !desk.modelSetup.isWorking(); }));
    EXPECT_EQ(badges(), "✓234");
    click(*view, "Re-check");
    ASSERT_TRUE(become("1234"));
    accessibility.isAllowed = true;
    reopen();
    EXPECT_TRUE(become("✓234"));

    accessibility.isAllowed = false;
    auto& opened = desk.bar.finder.workspace.opened;
    for (const auto* row : {"Accessibility", "Automation (Finder)", "Full Disk Access", "Finder extension (optional)"})
        click(*view, "Open", row);
    EXPECT_THAT(opened, ElementsAre(HasSubstr("Privacy_Accessibility"), HasSubstr("Privacy_Automation"),
                                    HasSubstr("Privacy_AllFiles"), HasSubstr("ExtensionsPreferences")));
    EXPECT_TRUE(desk.bar.dispatcher->runUntil([&] { return accessibility.prompts == 1; })) << "of the first alone";
}

TEST_F(OnboardingViewTest, LocalModelIsOfferedUntilItIsThere) {
    open();
    EXPECT_TRUE(shows(*view, "The configured AI endpoint is not reachable."));
    click(*view, "Get Ollama…");
    EXPECT_THAT(desk.bar.finder.workspace.opened, ElementsAre(kOllamaDownloadPage));

    // The application's folder alone counts: setting up starts it.
    (void)desk.tools.folder("Ollama.app");
    reopen();
    EXPECT_FALSE(offers(*view, "Get Ollama…"));
    desk.bar.server.replyModels({"other", kRecommendedModel});
    click(*view, "Set Up Model");
    EXPECT_THAT(desk.bar.finder.workspace.openedApplications, ElementsAre(desk.tools / "Ollama.app"));
    ASSERT_TRUE(desk.bar.dispatcher->runUntil([&] { return shows(*view, "Ready · qwen3:4b"); }));
    EXPECT_FALSE(offers(*view, "Set Up Model"));
}

TEST_F(OnboardingViewTest, DownloadIsStartedOnce) {
    desk.installTool("ollama");
    open();
    click(*view, "Set Up Model");
    EXPECT_TRUE(shows(*view, "Downloading qwen3:4b (about 2.5 GB)…"));
    EXPECT_FALSE(isEnabled(*view, "Set Up Model"));
}

TEST_F(OnboardingViewTest, ShortcutIsNamedAndGetStartedClosesAlsoByReturn) {
    open();
    EXPECT_THAT(howToUseText("⌥Space").toStdString(),
                ::testing::StartsWith("• Press ⌥Space (or click the bar) and type — e.g. <code"));
    EXPECT_THAT(howToUseText("<b>%2&").toStdString(), HasSubstr("Press &lt;b&gt;%2&amp; (or"));
    const auto mentions = [&](const char* shortcut) { return shows(*view, howToUseText(shortcut)); };
    EXPECT_TRUE(mentions("⌘⇧Space"));
    ASSERT_TRUE(desk.hotKey.update({"k", false, false, true, true}));
    EXPECT_TRUE(mentions("⌃⌥K"));

    click(*view, "Get Started");
    EXPECT_EQ(closings, 1);
    view->activateWindow();
    int presses = 1;
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        QTest::keyClick(view->windowHandle(), key);
        EXPECT_EQ(closings, ++presses) << key;
    }
}

} // namespace torvo::testing
