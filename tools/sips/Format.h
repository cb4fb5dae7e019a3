#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace torvo::sips {

/// The picture formats that are read and written.
enum class Format { png, jpeg, tiff, gif, bmp, heic, webp };

/// The format that a user means by "png", "jpg", "JPEG", "tif", "heif" ...; absent for anything else.
/// Names of formats and extensions of files are the same words.
[[nodiscard]] std::optional<Format> formatNamed(std::string_view name);

/// The format that the extension of a path names; absent without an extension or with an unknown one.
[[nodiscard]] std::optional<Format> formatOfPath(std::string_view path);

/// The format that the first bytes of a file show, whatever its name says. 12 bytes are enough.
[[nodiscard]] std::optional<Format> formatOfContent(std::span<const std::uint8_t> content);

/// The name of a format as `-g format` prints it and as the extension of new files: "png", "jpeg" ...
[[nodiscard]] std::string_view nameOf(Format format);
/// The usual extension of a file of this format, without the dot ("jpg" for jpeg).
[[nodiscard]] std::string_view extensionOf(Format format);

[[nodiscard]] bool holdsTransparency(Format format);
[[nodiscard]] bool holdsColourProfile(Format format);
[[nodiscard]] bool holdsSixteenBits(Format format);
/// Whether ink values (cyan, magenta, yellow, black) can be stored as they are.
[[nodiscard]] bool holdsInks(Format format);
/// Whether several pictures of one size, the frames of an animation or the pages of a scan, can be stored.
[[nodiscard]] bool holdsFrames(Format format);

} // namespace torvo::sips
