#pragma once

#include "support/FileURL.h"

#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// The clipboard as a source. Its calls wait for the program that owns the clipboard, each for a limited time. For one
/// thread.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;

    /// Whether `fileURLs` would return any.
    [[nodiscard]] virtual bool hasFiles() = 0;
    /// The files on it, in order; addresses that name no file are left out.
    [[nodiscard]] virtual std::vector<FileURL> fileURLs() = 0;
    /// Whether it holds a picture that `png` or `tiff` would return, without fetching it.
    [[nodiscard]] virtual bool hasImage() = 0;
    /// The picture on it as the bytes of a PNG file.
    [[nodiscard]] virtual std::optional<std::string> png() = 0;
    /// The picture on it as the bytes of a TIFF file.
    [[nodiscard]] virtual std::optional<std::string> tiff() = 0;
    /// The PNG file of the picture in a TIFF file; absent when it cannot be read.
    [[nodiscard]] virtual std::optional<std::string> pngFromTIFF(const std::string& tiff) = 0;
};

} // namespace torvo
