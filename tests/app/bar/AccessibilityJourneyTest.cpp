// Whether those who cannot see the bar and its windows, or use no mouse, find everything there and can use it.
#include "linux/SettingsFile.h"
#include "tests/support/BarJourney.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace torvo {
namespace {

using Role = AccessibleRole;
using ::testing::Contains;
using ::testing::IsSubsetOf;
using ::testing::UnorderedElementsAreArray;

class AccessibilityJourneyTest : public testing::BarJourney {
  protected:
    /// The controls of a window that can be used with the keyboard. What is in a list is not on its own, and texts have
    /// the keyboard only for copying from them.
    [[nodiscard]] std::vector<testing::Control> controls(std::string_view window) const {
        auto all = screen->shown(window);
        std::erase_if(all, [](const auto& each) {
            return !each.has(testing::Control::kFocusable) || !each.has(AccessibleState::sensitive) ||
                   each.node.role == Role::statusBar || each.node.role == Role::label ||
                   each.node.role == Role::listItem;
        });
        return all;
    }
    [[nodiscard]] std::vector<std::string> spokenNames(const std::vector<testing::Control>& all) const {
        std::vector<std::string> names;
        std::ranges::transform(all, std::back_inserter(names), [&](const auto& each) { return screen->spoken(each); });
        return names;
    }

    /// Each control has a name that tells it from the others, and can be pressed or written into; the window is one.
    void expectNamed(std::string_view window) const {
        const auto all = controls(window);
        ASSERT_FALSE(all.empty()) << window;
        const auto role = screen->shown(window).front().node.role;
        constexpr auto kAlert = static_cast<Role>(2);
        EXPECT_TRUE(role == Role::window || role == Role::frame || role == kAlert)
            << window << ": role " << static_cast<int>(role);
        std::set<std::string> known;
        for (const auto& each : all) {
            const auto name = screen->spoken(each);
            EXPECT_NE(name, "") << window << ": role " << static_cast<int>(each.node.role);
            EXPECT_TRUE(known.insert(name).second) << window << " has two of “" << name << "”";
            const bool isPressed = each.node.role == Role::pushButton || each.node.role == Role::checkBox ||
                                   each.node.role == Role::comboBox;
            EXPECT_TRUE(isPressed || each.node.role == Role::text || each.node.role == Role::list)
                << name << ": role " << static_cast<int>(each.node.role);
            EXPECT_TRUE(!isPressed || screen->actionCount(each) > 0) << name;
        }
    }

    /// Tab goes from control to control and comes to all of them, in the order in which they are read.
    void expectTabOrder(std::string_view window) {
        const auto all = controls(window);
        std::optional<testing::Control> now;
        ASSERT_TRUE(testing::eventually([&] { return (now = screen->focused(all)).has_value(); })) << window;
        if (all.size() == 1)
            return;
        const auto start = std::ranges::find(all, now->node.object, [](const auto& each) { return each.node.object; });
        std::vector<testing::Control> expected(start, all.end());
        expected.insert(expected.end(), all.begin(), start);
        std::vector<testing::Control> visited;
        do {
            visited.push_back(*now);
            session.press("Tab");
            const auto before = std::exchange(now, std::nullopt);
            ASSERT_TRUE(testing::eventually([&] {
                now = screen->focused(all);
                return now && now->node.object != before->node.object;
            })) << "Tab leads from "
                << before->name << " out of " << window;
        } while (now->node.object != visited.front().node.object && visited.size() <= all.size());
        EXPECT_EQ(spokenNames(visited), spokenNames(expected)) << window;
    }

    void expectUsable(std::string_view window) {
        expectNamed(window);
        expectTabOrder(window);
    }
};

TEST_F(AccessibilityJourneyTest, EveryControlOfTheWindowsHasANameAndAPlaceInTheTabOrder) {
    picture("one.png");
    ASSERT_TRUE(start());
    ASSERT_TRUE(select({"one.png"}));
    for (const char* command : {"jpg", "zip"}) {
        ASSERT_TRUE(bar->carriesOut(command));
        ASSERT_TRUE(dismiss());
        ASSERT_TRUE(select({"one.png"}));
    }
    for (const auto& [item, window] : {std::pair("Settings…", "Torvo Settings"),
                                       {"Setup & Permissions…", "Torvo Setup"},
                                       {"Activity Log…", "Torvo Activity"},
                                       {"Ideas…", "Torvo Ideas"},
                                       {"About Torvo", "About Torvo"},
                                       {"Check for Updates…", "Torvo Updates"}}) {
        ASSERT_TRUE(open(item, window)) << window;
        expectUsable(window);
        session.activate(session.window());
        EXPECT_TRUE(bar->summon()) << "beside " << window;
        EXPECT_TRUE(dismiss());
        session.display().activate(*bar->window(window));
        ASSERT_TRUE(session.desktop().eventually([&] { return !bar->isShown(); }));
        ASSERT_TRUE(close(window)) << window;
    }
}

TEST_F(AccessibilityJourneyTest, EveryControlOfTheBarHasANameAndAPlaceInTheTabOrder) {
    for (const char* name : {"a.txt", "b.txt"})
        (void)files.file(name);
    ASSERT_TRUE(start());
    ASSERT_TRUE(screen->await("Open the command bar, 📁 " + std::string(files.url().lastPathComponent()) +
                              " · nothing selected"));
    expectNamed("Torvo");
    ASSERT_TRUE(bar->summon());
    ASSERT_TRUE(screen->await("Largest files")) << "a chip";
    expectUsable("Torvo");

    ASSERT_TRUE(select({"a.txt"}));
    modelPlans(R"(mv "$1" "${1%.txt}.md")", "Rename to md", R"(printf '%s\t%s\n' "$1" "${1%.txt}.md")", true);
    ASSERT_TRUE(bar->enter("make it md"));
    ASSERT_TRUE(screen->await("Apply"));
    expectUsable("Torvo");
    // By the keyboard alone: from the field to the list, and on to the button.
    session.press("Tab");
    session.press("Tab");
    session.press("space");
    EXPECT_TRUE(screen->says("a.md")) << "the result";
    expectUsable("Torvo");

    model.queue(testing::ScriptedReply::status(500));
    ASSERT_TRUE(bar->enter("something else"));
    ASSERT_TRUE(screen->await("Ask AI to fix"));
    expectUsable("Torvo");
}

TEST_F(AccessibilityJourneyTest, WhatIsSetWithoutKeysAndMouseCounts) {
    ASSERT_TRUE(start());
    ASSERT_TRUE(open("Settings…", "Torvo Settings"));
    SettingsFile settings(SettingsFile::defaultLocation());
    const auto holds = [&](const char* key, const DefaultsValue& value) {
        return testing::eventually([&] { return settings.get(key) == value; });
    };
    ASSERT_TRUE(screen->press("Preview every command before running (dry-run)"));
    EXPECT_TRUE(holds("dryRunPreview", true));
    ASSERT_TRUE(screen->press("Save a local command log"));
    EXPECT_TRUE(holds("commandLoggingEnabled", false));
    ASSERT_TRUE(screen->press("Save a local command log"));
    EXPECT_TRUE(holds("commandLoggingEnabled", true));
    ASSERT_TRUE(screen->press("Launch Torvo at login"));
    EXPECT_TRUE(testing::eventually([&] { return (session.home() / "config/autostart/torvo.desktop").exists(); }));
    for (const char* modifier : {"⇧", "⌃"})
        ASSERT_TRUE(screen->press(modifier));
    ASSERT_TRUE(screen->press("Apply"));
    EXPECT_TRUE(screen->says("Shortcut set to ⌃⌘Space."));
    ASSERT_TRUE(screen->setText("Model", "another"));
    EXPECT_TRUE(holds("llm.model", "another"));
    ASSERT_TRUE(close("Torvo Settings"));

    session.press("super+ctrl+space");
    ASSERT_TRUE(screen->await("Command", Role::text));
    ASSERT_TRUE(screen->setText("Command", "zip"));
    EXPECT_TRUE(screen->says("⏎  Zip the selection"));
}

} // namespace
} // namespace torvo
