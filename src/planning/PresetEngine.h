#pragma once

#include "model/Action.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The grammar of the commonest commands: selecting by file type, deselecting, converting images, zipping. A pure
/// function of the typed text, cheap enough for every keystroke.
namespace PresetEngine {

/// The action that `text` means, or nothing when the grammar does not know it.
[[nodiscard]] std::optional<Action> match(std::string_view text);

/// `text` lower-cased, trimmed, without one final ".", with single spaces between its words.
[[nodiscard]] std::string normalize(std::string_view text);

/// The extensions that one word stands for ("photos", "jpg", "*.abc"), or nothing when it is no file type.
[[nodiscard]] std::optional<std::vector<std::string>> extensionsForToken(std::string_view token);

/// The two grammars on normalised text and its words.
[[nodiscard]] std::optional<Action> matchSelection(std::string_view input, std::span<const std::string_view> tokens);
[[nodiscard]] std::optional<Action> matchConversion(std::string_view input, std::span<const std::string_view> tokens);

/// `list` without the entries that equal an earlier one.
[[nodiscard]] std::vector<std::string> dedupePreservingOrder(std::vector<std::string> list);

} // namespace PresetEngine

} // namespace torvo
