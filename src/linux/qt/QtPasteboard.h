#pragma once

#include "platform/Pasteboard.h"

namespace torvo {

/// The clipboard of the desktop.
class QtPasteboard final : public Pasteboard {
  public:
    std::vector<FileURL> fileURLs() override;
    bool hasImage() override;
    std::optional<std::string> png() override;
    std::optional<std::string> tiff() override;
    std::optional<std::string> pngFromTIFF(const std::string& tiff) override;
};

/// The files in data that were copied or dragged, byte for byte: those of the type text/uri-list.
[[nodiscard]] std::vector<FileURL> filesInUriList(const std::string& list);

} // namespace torvo
