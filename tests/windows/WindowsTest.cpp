#include "assistance/IdeasCatalog.h"
#include "tests/support/qt/Controls.h"
#include "tests/support/qt/OffscreenApplication.h"
#include "tests/support/qt/SettingsDesk.h"
#include "widgets/SymbolLabel.h"
#include "windows/IdeasGalleryView.h"
#include "windows/OnboardingView.h"
#include "windows/OrdinaryWindow.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace torvo::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class OnboardingViewTest : public ::testing::Test {
  protected:
    void open() {
        view = std::make_unique<OnboardingView>(desk.onboarding(), [] {});
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

TEST_F(OnboardingViewTest, ShortcutIsNamed) {
    open();
    EXPECT_THAT(howToUseText("⌥Space").toStdString(),
                ::testing::StartsWith("• Press ⌥Space (or click the bar) and type — e.g. <code"));
    const auto mentions = [&](const char* shortcut) { return shows(*view, howToUseText(shortcut)); };
    EXPECT_TRUE(mentions("⌘⇧Space"));
    ASSERT_TRUE(desk.hotKey.update({"k", false, false, true, true}));
    EXPECT_TRUE(mentions("⌃⌥K"));
}

TEST(WindowsTest, PickedIdeaIsHandedOverByAGalleryThatMayGo) {
    const OffscreenApplication application;
    std::string picked;
    std::unique_ptr<IdeasGalleryView> view;
    view = std::make_unique<IdeasGalleryView>([&](std::string_view input) {
        picked = input;
        view.release()->deleteLater();
    });
    std::size_t ideas = 0;
    for (const auto& group : IdeasCatalog::groups()) {
        EXPECT_TRUE(shows(*view, QString::fromUtf8(group.name.data(), static_cast<qsizetype>(group.name.size()))));
        ideas += group.ideas.size();
    }
    EXPECT_EQ(tabStops(*view).size(), ideas);
    auto* button = control<QAbstractButton>(*view, "Spaces → dashes");
    EXPECT_EQ(button->toolTip(), "replace spaces with dashes in the names");
    button->click();
    EXPECT_EQ(picked, "replace spaces with dashes in the names");
}

TEST(WindowsTest, WindowIsMadeOnceKeptWhenClosedAndCannotBeResized) {
    const OffscreenApplication application;
    int made = 0;
    OrdinaryWindow window(kActivityWindow, [&] {
        ++made;
        return new QWidget;
    });
    EXPECT_EQ(made, 0);
    window.close();
    window.present();
    auto* first = window.window();
    EXPECT_EQ(first->windowTitle(), "Torvo Activity");
    EXPECT_EQ(first->minimumSize(), kActivityWindow.size);
    EXPECT_EQ(first->maximumSize(), kActivityWindow.size);
    first->move(11, 12);
    window.close();
    EXPECT_FALSE(first->isVisible());
    window.present();
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(window.window(), first);
    EXPECT_EQ(first->pos(), QPoint(11, 12)) << "it stays where the user left it";
    EXPECT_EQ(made, 1);
}

} // namespace torvo::testing
