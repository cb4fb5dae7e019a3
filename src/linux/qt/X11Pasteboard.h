#pragma once

#include "linux/clipboard/X11Clipboard.h"
#include "platform/Pasteboard.h"

#include <chrono>
#include <memory>
#include <string_view>

namespace torvo {

/// The clipboard of the desktop. A program that owns it and does not answer is given up after a while: the clipboard
/// then reads as empty.
class X11Pasteboard final : public Pasteboard {
  public:
    bool hasFiles() override;
    std::vector<FileURL> fileURLs() override;
    bool hasImage() override;
    std::optional<std::string> png() override;
    std::optional<std::string> tiff() override;
    std::optional<std::string> pngFromTIFF(const std::string& tiff) override;

  private:
    /// What is on offer, as the names of targets.
    [[nodiscard]] std::vector<std::string> targets();
    [[nodiscard]] std::optional<std::string> bytesOf(std::string_view target, std::chrono::milliseconds patience);

    /// Made when it is first wanted, and anew after the X server was lost.
    std::unique_ptr<X11Clipboard> m_clipboard;
};

} // namespace torvo
