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

std::vector<std::string> pathsInUriList(std::string_view list) {
    std::vector<std::string> paths;
    while (!list.empty()) {
        const auto end = std::min(list.find('\n'), list.size());
        auto line = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.starts_with('#'))
            continue;
        if (const auto file = parseFileURLText(std::string(line)))
            paths.push_back(file->path());
    }
    return paths;
}

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
    return list ? pathsInUriList(list->bytes) : std::vector<std::string>();
}

} // namespace torvo
