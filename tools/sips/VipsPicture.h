#pragma once

#include "Road.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vips/vips8>

/// How a picture gets into libvips and out of it. All of it throws what libvips throws (vips::VError).
namespace torvo::sips {

/// Sets libvips up for this process: no caches, and nothing printed. False when that fails.
[[nodiscard]] bool startVips();

enum class Frames { first, all };

/// Opens a picture for one pass from top to bottom. Damaged and cut-short pictures throw, here or in that pass.
/// Several frames come as one tall picture. `source` must outlive the picture.
[[nodiscard]] vips::VImage openPicture(std::span<const std::uint8_t> source, Format format, Frames frames);

/// The whole of a picture that was opened, read now: it can be used in any order and by all workers.
[[nodiscard]] vips::VImage inMemory(const vips::VImage& image);

/// The height of one frame; that of the picture when it has one only.
[[nodiscard]] int frameHeightOf(const vips::VImage& image);

/// Whether the camera's note on how it was held says that the picture is not upright.
[[nodiscard]] bool needsTurning(const vips::VImage& image);

/// The picture with the colours, the depth and the transparency that `format` can hold.
[[nodiscard]] vips::VImage suitedTo(vips::VImage image, Format format);

[[nodiscard]] EncodedPicture encode(const vips::VImage& image, Format format, int quality);

/// What was wrong with a JPEG picture that was read to its end, as one line: damage in its last rows throws nothing.
[[nodiscard]] std::optional<std::string> lossInJpeg();

[[nodiscard]] PictureFacts factsOf(const vips::VImage& image);

/// What libvips says about a failure, as one line.
[[nodiscard]] std::string oneLineOf(std::string_view message);

} // namespace torvo::sips
