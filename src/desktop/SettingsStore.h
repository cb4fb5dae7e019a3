#pragma once

#include "desktop/HotKeyConfiguration.h"
#include "platform/UserDefaults.h"

#include <expected>
#include <string>
#include <string_view>

namespace torvo {

/// Settings with their defaults, read afresh on every call. Those that belong to the rules, the model endpoint, the
/// command log and the history are read by these.
namespace SettingsStore {

/// The keys that others watch.
constexpr std::string_view kHotKey = "globalHotKey";
constexpr std::string_view kDryRunPreview = "dryRunPreview";

/// Whether the bar docks to file-manager windows; true unless a Boolean says otherwise.
[[nodiscard]] bool autoAttach(UserDefaults& defaults);

std::expected<void, std::string> setAutoAttach(bool isOn, UserDefaults& defaults);

/// Whether every command is shown and confirmed before it runs; false unless a Boolean says otherwise.
[[nodiscard]] bool dryRunPreview(UserDefaults& defaults);

/// The global shortcut; Command-Shift-Space where none is stored that can be read.
[[nodiscard]] HotKeyConfiguration hotKey(UserDefaults& defaults);
std::expected<void, std::string> setHotKey(const HotKeyConfiguration& hotKey, UserDefaults& defaults);

} // namespace SettingsStore

} // namespace torvo
