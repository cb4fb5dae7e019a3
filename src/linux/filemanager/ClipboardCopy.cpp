#include "linux/filemanager/ClipboardCopy.h"

#include "linux/clipboard/X11Clipboard.h"
#include "support/FileURLText.h"

#include <algorithm>

namespace torvo {

namespace {

/// A program that has something to copy takes the clipboard sooner than that.
constexpr auto kTakeTime = std::chrono::milliseconds(250);
/// How long the one whose content is on the clipboard may take to hand it over.
constexpr auto kSaveTime = std::chrono::milliseconds(500);

} // namespace

std::vector<std::string> copiedFiles(ClipboardKeeper& keeper, const std::function<void()>& copy, Deadline deadline) {
    const auto clipboard = X11Clipboard::create();
    if (clipboard == nullptr)
        return {};
    const auto now = std::chrono::steady_clock::now();
    auto before = clipboard->readAll(std::min(deadline, now + kSaveTime));
    if (!clipboard->changesAfter(copy, std::min(deadline, std::chrono::steady_clock::now() + kTakeTime)))
        return {};
    const auto list = clipboard->read("text/uri-list", deadline);
    keeper.keep(std::move(before));
    std::vector<std::string> paths;
    if (list)
        std::ranges::transform(filesInUriList(list->bytes), std::back_inserter(paths), &FileURL::path);
    return paths;
}

} // namespace torvo
