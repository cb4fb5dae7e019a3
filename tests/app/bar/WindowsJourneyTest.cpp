// What a user does in the bar's windows and its menu, and what comes of it in the bar.
#include "desktop/HotKeyService.h"
#include "linux/FileLock.h"
#include "linux/ProcessTable.h"
#include "linux/SettingsFile.h"
#include "linux/X11HotKeys.h"
#include "planning/LLMEndpoint.h"
#include "tests/support/BarJourney.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace torvo {
namespace {

constexpr const char* kSettings = "Torvo Settings";
constexpr const char* kActivity = "Torvo Activity";
constexpr const char* kSetup = "Torvo Setup";
constexpr const char* kDryRun = "Preview every command before running (dry-run)";

class WindowsJourneyTest : public testing::BarJourney {
  protected:
    using FirstLaunch = testing::RunningBar::FirstLaunch;

    [[nodiscard]] bool openSettings() { return open("Settings…", kSettings); }
    /// Types over what a field holds.
    [[nodiscard]] bool fill(std::string_view field, const std::string& text) {
        if (!screen->focus(field, AccessibleRole::text))
            return false;
        session.press("ctrl+a");
        session.press("BackSpace");
        if (!text.empty())
            testing::XDesktop::input({"type", "--delay", "2", text});
        return testing::eventually([&] { return screen->text(field) == text; });
    }
    /// Chooses "Quit Torvo"; whether the program has ended by itself.
    [[nodiscard]] bool quits() {
        const auto hasEnded = [&] {
            const auto status = process_table::status(bar->pid());
            return !status || status->isZombie();
        };
        return choose("Quit Torvo") && testing::eventually(hasEnded) && bar->quit() == 0;
    }
    /// Whether nobody has this shortcut for itself.
    [[nodiscard]] static bool isFree(const HotKeyConfiguration& shortcut) {
        const auto display = X11Connection::create();
        return X11HotKeys(*display).registerHotKey(hotKeyCode(shortcut)).has_value();
    }
};

TEST_F(WindowsJourneyTest, SetupComesAtTheFirstLaunchAndNeverAgain) {
    SettingsFile settings(SettingsFile::defaultLocation());
    for (const auto key : {LLMEndpoint::kBaseURLKey, LLMEndpoint::kModelKey})
        ASSERT_TRUE(settings.remove(key));
    launch(FirstLaunch::yes);
    ASSERT_TRUE(session.desktop().eventually([&] { return bar->window(kSetup).has_value(); }));
    EXPECT_TRUE(screen->says("Welcome to Torvo"));
    EXPECT_TRUE(screen->await("Granted")) << "the accessibility bus is on";
    ASSERT_TRUE(screen->press("Re-check"));
    EXPECT_TRUE(screen->await("Granted"));
    session.press("Return");
    ASSERT_TRUE(goesBackFrom(kSetup)) << "“Get Started” is what Return does";
    EXPECT_TRUE(bar->summon());
    ASSERT_TRUE(quits());

    launch(FirstLaunch::yes);
    ASSERT_TRUE(bar->summon());
    EXPECT_FALSE(bar->window(kSetup));
    EXPECT_EQ(LLMEndpoint::current(settings), LLMEndpoint()) << "nobody set another one";
    ASSERT_TRUE(open("Setup & Permissions…", kSetup)) << "by the menu it comes again";
    ASSERT_TRUE(screen->click("Get Started"));
    EXPECT_TRUE(goesBackFrom(kSetup));
}

TEST_F(WindowsJourneyTest, ARuleIsUsedAtOnceAndGoneAtOnce) {
    for (const char* name : {"a.txt", "b.md"})
        (void)files.file(name);
    ASSERT_TRUE(start());
    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(fill("trigger", "notes"));
    ASSERT_TRUE(fill("expands to…", "select all md"));
    ASSERT_TRUE(screen->click("Add"));
    ASSERT_TRUE(screen->await("Remove notes"));
    EXPECT_EQ(screen->text("trigger"), "");
    ASSERT_TRUE(close(kSettings));
    ASSERT_TRUE(bar->carriesOut("notes", "selected"));
    EXPECT_TRUE(session.selectionBecomes({"b.md"}));
    ASSERT_TRUE(dismiss());

    ASSERT_TRUE(select({"a.txt"}));
    ASSERT_TRUE(bar->summon());
    ASSERT_TRUE(screen->click("notes")) << "its chip";
    EXPECT_TRUE(logs("selected", 2));
    EXPECT_TRUE(session.selectionBecomes({"b.md"}));
    ASSERT_TRUE(dismiss());

    ASSERT_TRUE(openSettings());
    ASSERT_TRUE(screen->press("Remove notes"));
    ASSERT_TRUE(screen->awaitsEnd("Remove notes"));
    ASSERT_TRUE(close(kSettings));
    ASSERT_TRUE(bar->summon());
    EXPECT_FALSE(screen->find("notes"));
}

TEST_F(WindowsJourneyTest, TestsTheEndpointAndUsesIt) {
    const auto nowhere = "http://127.0.0.1:" + std::to_string(testing::unusedPort());
    ASSERT_TRUE(start());
    ASSERT_TRUE(openSettings());
    EXPECT_EQ(screen->text("Base URL"), model.url());
    ASSERT_TRUE(fill("Base URL", nowhere));
    ASSERT_TRUE(screen->press("Test Connection"));
    EXPECT_TRUE(screen->says("Failed: "));

    model.advertise({"small", "large"});
    ASSERT_TRUE(fill("Model", ""));
    ASSERT_TRUE(fill("Base URL", model.url()));
    ASSERT_TRUE(screen->press("Test Connection"));
    EXPECT_TRUE(screen->says("Connected · 2 models"));
    EXPECT_TRUE(testing::eventually([&] { return screen->text("Model") == "small"; }));
    ASSERT_TRUE(close(kSettings));
    modelPlans("true", "Do nothing");
    ASSERT_TRUE(bar->enter("do nothing"));
    EXPECT_TRUE(screen->says("Do nothing\n$ true"));
    EXPECT_THAT(model.requests().back().body, ::testing::HasSubstr(R"("model":"small")"));
}

TEST_F(WindowsJourneyTest, TheActivityWindowTakesBackAndDoesAgain) {
    picture("one.png");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"one.png"}));
    ASSERT_TRUE(bar->carriesOut("jpg"));
    ASSERT_TRUE(open("Activity Log…", kActivity));
    EXPECT_TRUE(screen->says("Converted 1 image to JPG"));
    ASSERT_TRUE(screen->click("Undo"));
    EXPECT_TRUE(screen->says("Undone"));
    EXPECT_FALSE((files / "one.jpg").exists());
    ASSERT_TRUE(screen->click("Re-run"));
    EXPECT_TRUE(logs("completed", 2));
    EXPECT_TRUE((files / "one.jpg").exists());
    EXPECT_TRUE(testing::eventually(
        [&] { return std::ranges::count(screen->shown(kActivity), "Re-run", &testing::Control::name) == 2; }));
    ASSERT_TRUE(screen->press("Clear"));
    EXPECT_TRUE(screen->says("No operations yet."));
}

TEST_F(WindowsJourneyTest, AQuestionOverTheActivityWindowWaitsForItsAnswer) {
    (void)files.file("a.txt");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"a.txt"}));
    modelPlans(R"(print new > "${1%.txt}.$RANDOM")", "Write it", "", true);
    ASSERT_TRUE(bar->enter("write it"));
    ASSERT_TRUE(screen->press("Run anyway"));
    ASSERT_TRUE(logs("completed"));
    ASSERT_TRUE(open("Activity Log…", kActivity));
    ASSERT_TRUE(screen->click("Re-run"));
    ASSERT_TRUE(session.desktop().eventually([&] { return bar->isShown(); }));
    ASSERT_FALSE(bar->isKey());
    // A click gives the small bar the keyboard, and its question room.
    const auto place = *bar->frame();
    testing::XDesktop::input({"mousemove", std::to_string(static_cast<int>(place.x + place.width / 2)),
                              std::to_string(static_cast<int>(place.y + place.height / 2)), "click", "1"});
    ASSERT_TRUE(session.desktop().eventually([&] { return bar->isKey(); }));
    ASSERT_TRUE(screen->press("Run anyway"));
    EXPECT_TRUE(logs("completed", 2));
}

TEST_F(WindowsJourneyTest, AnotherShortcutTakesThePlaceOfTheOld) {
    ASSERT_TRUE(start());
    EXPECT_FALSE(isFree({}));
    ASSERT_TRUE(openSettings());
    // ⌘⇧Space becomes ⌥⌘K.
    for (const char* modifier : {"⇧", "⌥"})
        ASSERT_TRUE(screen->click(modifier));
    ASSERT_TRUE(screen->click("Space"));
    ASSERT_TRUE(session.desktop().eventually([&] { return bar->hasPopup(); }));
    session.press("k");
    session.press("Return");
    ASSERT_TRUE(screen->await("K", AccessibleRole::comboBox));
    ASSERT_TRUE(screen->click("Apply"));
    EXPECT_TRUE(screen->says("Shortcut set to ⌥⌘K."));
    EXPECT_TRUE(isFree({}));
    ASSERT_TRUE(close(kSettings));
    EXPECT_TRUE(screen->says("⌥⌘K")) << "the small bar names it";
    session.press("super+shift+space");
    EXPECT_FALSE(bar->isKey());
    session.press("super+alt+k");
    EXPECT_TRUE(session.desktop().eventually([&] { return bar->isKey(); }));
}

TEST_F(WindowsJourneyTest, DocksOnlyWhileItIsToldTo) {
    ASSERT_TRUE(start());
    const auto isHidden = [&] { return !bar->isShown(); };
    ASSERT_TRUE(choose("Attach to Finder Windows"));
    ASSERT_TRUE(session.desktop().eventually(isHidden));
    {
        const testing::XWindow editor(session.display(), "Editor", 4711);
        session.activate(editor.id());
        session.activate(session.window());
    }
    ASSERT_TRUE(bar->summon()) << "it still comes when it is called";
    session.press("Escape");
    ASSERT_TRUE(session.desktop().eventually(isHidden)) << "and goes for good";
    ASSERT_TRUE(bar->summon());
    ASSERT_TRUE(choose("Attach to Finder Windows"));
    session.press("Escape");
    EXPECT_TRUE(screen->says("⌘⇧Space")) << "small again, and there";
    EXPECT_TRUE(bar->isShown());
}

TEST_F(WindowsJourneyTest, AnotherProgramAtTheSettingsHoldsNothingUp) {
    ASSERT_TRUE(start());
    ASSERT_TRUE(openSettings());
    SettingsFile settings(SettingsFile::defaultLocation());
    const auto isStored = [&] { return settings.getAs<bool>("dryRunPreview").value_or(false); };
    {
        const auto lock = FileLock::take(SettingsFile::defaultLocation().path() + ".lock", SettingsFile::kPatience);
        ASSERT_TRUE(lock);
        ASSERT_TRUE(screen->click(kDryRun));
        EXPECT_TRUE(testing::eventually([&] { return screen->isChecked(kDryRun); }));
        EXPECT_FALSE(isStored());
    }
    EXPECT_EQ(bar->quit(), 0);
    EXPECT_TRUE(isStored());
}

TEST_F(WindowsJourneyTest, RemembersEverythingWhenItIsStartedAgain) {
    picture("one.png");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"one.png"}));
    ASSERT_TRUE(bar->carriesOut("jpg"));
    ASSERT_TRUE(openSettings());
    ASSERT_FALSE(screen->isChecked(kDryRun));
    ASSERT_TRUE(screen->click(kDryRun));
    ASSERT_TRUE(screen->setText("trigger", "notes"));
    ASSERT_TRUE(fill("expands to…", "select all md"));
    session.press("Return");
    ASSERT_TRUE(screen->await("Remove notes"));
    ASSERT_TRUE(close(kSettings));
    ASSERT_TRUE(quits());

    launch(FirstLaunch::yes);
    ASSERT_TRUE(bar->summon());
    session.press("Up");
    EXPECT_TRUE(testing::eventually([&] { return screen->text("Command") == "jpg"; }));
    ASSERT_TRUE(open("Activity Log…", kActivity));
    EXPECT_TRUE(screen->says("Converted 1 image to JPG"));
    ASSERT_TRUE(screen->press("Undo"));
    EXPECT_TRUE(testing::eventually([&] { return !(files / "one.jpg").exists(); }));
    ASSERT_TRUE(close(kActivity));
    ASSERT_TRUE(openSettings());
    EXPECT_TRUE(screen->isChecked(kDryRun));
    EXPECT_TRUE(screen->await("Remove notes"));
}

} // namespace
} // namespace torvo
