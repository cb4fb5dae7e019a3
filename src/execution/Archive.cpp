#include "execution/Archive.h"

#include "execution/ErrorLine.h"
#include "execution/ImageConversion.h"
#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace torvo {

namespace {

/// The folder that the archive goes to: the selection's, else the window's.
std::optional<FileURL> archiveFolder(const FinderContext& context) {
    if (!context.selection.empty())
        return context.selection.front().deletingLastPathComponent();
    return context.folder;
}

/// An item's name as an argument. A lone "-" would mean standard input to zip even behind "--".
std::string argumentFor(const FileURL& item) {
    const auto name = item.lastPathComponent();
    return name == "-" ? "./-" : std::string(name);
}

} // namespace

RunOutcome zipSelection(const FinderContext& context, const std::string& archiver, ProcessRunner& processes,
                        Selecting& selector, const ProgressCallback& progress) {
    const auto folder = archiveFolder(context);
    if (!folder)
        return Failure{"Open a Finder window first"};
    const auto& items = context.selection;
    if (std::ranges::any_of(items, [home = folder->standardized()](const FileURL& item) {
            return item.deletingLastPathComponent().standardized() != home;
        }))
        return Failure{"Zip requires all selected items to be in the same folder"};
    if (!std::ranges::all_of(items, &FileURL::exists))
        return Failure{"One or more selected items no longer exist"};

    const auto archive = freeDestination(*folder, "Archive", "zip");
    if (progress)
        progress({fmt::format("Compressing {}…", counted(items.size(), "item")), std::nullopt, std::nullopt});
    std::vector<std::string> arguments{"-r", "-q", archive.path(), "--"};
    std::ranges::transform(items, std::back_inserter(arguments), argumentFor);
    const auto result = processes.run({archiver, std::move(arguments), folder});

    if (processes.isCancelled()) {
        removeNewFiles({archive});
        return Failure{"Cancelled"};
    }
    if (result.status != 0 || !archive.exists()) {
        removeNewFiles({archive});
        return Failure{fmt::format(
            "Zip failed: {}", errorLine(result.standardOutput.text(), result.standardError.text(), result.status))};
    }
    selector.select({archive});
    return Completed{fmt::format("Zipped {}", counted(items.size(), "item")), {archive}};
}

} // namespace torvo
