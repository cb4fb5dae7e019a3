#include "desktop/HotKeyCoordinator.h"
#include "desktop/SettingsStore.h"
#include "linux/SettingsFile.h"
#include "tests/support/FakeDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace torvo {
namespace {

const HotKeyConfiguration kControlOptionK{
    .key = "k", .command = false, .shift = false, .option = true, .control = true};
constexpr HotKeyCode kDefaultCode{49, 256 + 512};

TEST(HotKeyCode, HasThePlatformsNumbers) {
    EXPECT_EQ(hotKeyCode({}), kDefaultCode);
    EXPECT_EQ(hotKeyCode(kControlOptionK), (HotKeyCode{40, 2048 + 4096}));
    // Each letter has a key of its own, and none is the space bar's.
    std::set<std::uint32_t> keys{49};
    for (char letter = 'a'; letter <= 'z'; ++letter)
        keys.insert(hotKeyCode({.key = std::string(1, letter)}).key);
    EXPECT_EQ(keys.size(), 27U);
    EXPECT_EQ(HotKeyRegistrationError{-50}.description(), "macOS could not register this shortcut (error -50).");
}

class HotKeyCoordinatorTest : public ::testing::Test {
  protected:
    testing::TemporaryFolder folder;
    SettingsFile defaults{folder / "settings.json"};
    testing::FakeHotKeys platform;
    int presses = 0;
};

TEST_F(HotKeyCoordinatorTest, RegistersTheStoredShortcutAndStoresANewOne) {
    {
        HotKeyCoordinator coordinator(platform, defaults);
        EXPECT_FALSE(coordinator.applyStored()) << "it would do nothing";
        EXPECT_EQ(platform.registered, std::nullopt);
        coordinator.setAction([this] { ++presses; });
        EXPECT_TRUE(coordinator.applyStored());
        EXPECT_EQ(platform.registered, kDefaultCode);
        EXPECT_FALSE(defaults.contains("globalHotKey")) << "launching stores nothing";
        platform.pressed();
        EXPECT_EQ(presses, 1);

        EXPECT_TRUE(coordinator.update(kControlOptionK));
        EXPECT_EQ(coordinator.statusMessage(), "Shortcut set to ⌃⌥K.");
        EXPECT_EQ(platform.registered, hotKeyCode(kControlOptionK));
        EXPECT_EQ(platform.installations, 1);
    }
    EXPECT_EQ(platform.registered, std::nullopt);
    EXPECT_FALSE(platform.pressed);
    EXPECT_EQ(HotKeyCoordinator(platform, defaults).configuration(), kControlOptionK);
}

TEST_F(HotKeyCoordinatorTest, KeepsTheOldShortcutWhenTheNewOneCannotBeHad) {
    HotKeyCoordinator coordinator(platform, defaults);
    int told = 0;
    const auto subscription = coordinator.observe([&] { ++told; });
    coordinator.setAction([this] { ++presses; });
    ASSERT_TRUE(coordinator.applyStored());
    platform.refused[40] = kHotKeyExists;
    EXPECT_FALSE(coordinator.update(kControlOptionK));
    EXPECT_TRUE(coordinator.hasError());
    EXPECT_EQ(coordinator.statusMessage(), "That shortcut is already used by macOS or another app.");
    EXPECT_EQ(coordinator.configuration(), HotKeyConfiguration{});
    EXPECT_EQ(platform.registered, kDefaultCode);
    platform.pressed();
    EXPECT_EQ(presses, 1);
    EXPECT_FALSE(coordinator.update({.key = "k", .command = false, .shift = false}));
    EXPECT_EQ(coordinator.statusMessage(), "Choose at least one modifier key.");
    EXPECT_EQ(platform.registered, kDefaultCode);
    EXPECT_FALSE(defaults.contains("globalHotKey"));
    EXPECT_TRUE(coordinator.update({.key = "space", .command = false, .shift = false, .option = true}));
    EXPECT_EQ(coordinator.statusMessage(), "Shortcut set to ⌥Space.");
    EXPECT_FALSE(coordinator.hasError());
    EXPECT_EQ(told, 4);
}

TEST_F(HotKeyCoordinatorTest, TakesAShortcutThatCannotBeStoredUntilItQuits) {
    SettingsFile unwritable(folder.file("taken").appendingPath("settings.json"), [](const std::string&) {});
    HotKeyCoordinator coordinator(platform, unwritable);
    coordinator.setAction([this] { ++presses; });
    ASSERT_TRUE(coordinator.applyStored());
    EXPECT_FALSE(coordinator.update(kControlOptionK));
    EXPECT_TRUE(coordinator.hasError());
    EXPECT_THAT(coordinator.statusMessage(),
                ::testing::StartsWith("The shortcut works until Torvo quits: Could not save the settings: "));
    EXPECT_EQ(coordinator.configuration(), kControlOptionK);
    EXPECT_EQ(platform.registered, hotKeyCode(kControlOptionK));
    platform.pressed();
    EXPECT_EQ(presses, 1);
}

TEST_F(HotKeyCoordinatorTest, SaysSoWhenNothingCanBeRegistered) {
    platform.handlerStatus = -1;
    HotKeyCoordinator coordinator(platform, defaults);
    coordinator.setAction([] {});
    EXPECT_FALSE(coordinator.applyStored());
    EXPECT_EQ(coordinator.statusMessage(), "macOS could not register this shortcut (error -1).");
    EXPECT_EQ(platform.registered, std::nullopt);
}

} // namespace
} // namespace torvo
