#include "desktop/ClipboardService.h"

#include "support/AtomicFile.h"
#include "support/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace torvo::ClipboardService {

namespace {

/// A new file, opened for writing, under the first free name.
std::optional<std::pair<FileURL, Descriptor>> createPastedImage(const FileURL& folder) {
    for (int number = 0;; ++number) {
        auto url =
            folder.appendingPath(number == 0 ? "Pasted image.png" : "Pasted image " + std::to_string(number) + ".png");
        Descriptor file(::open(url.path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (file.get() >= 0)
            return std::pair(std::move(url), std::move(file));
        if (errno != EEXIST)
            return std::nullopt;
    }
}

} // namespace

bool hasContent(Pasteboard& pasteboard) {
    return pasteboard.hasFiles() || pasteboard.hasImage();
}

std::optional<std::string> imageData(Pasteboard& pasteboard) {
    if (auto png = pasteboard.png())
        return png;
    const auto tiff = pasteboard.tiff();
    return tiff ? pasteboard.pngFromTIFF(*tiff) : std::nullopt;
}

std::vector<FileURL> ingest(Pasteboard& pasteboard, const std::optional<FileURL>& folder, const FileURL& desktop) {
    if (auto files = pasteboard.fileURLs(); !files.empty())
        return files;
    const auto image = imageData(pasteboard);
    auto file = image ? createPastedImage(folder.value_or(desktop)) : std::nullopt;
    if (!file)
        return {};
    if (writeAll(file->second.get(), *image) != 0) {
        // Half a picture is worse than none.
        ::unlink(file->first.path().c_str());
        return {};
    }
    return {file->first};
}

} // namespace torvo::ClipboardService
