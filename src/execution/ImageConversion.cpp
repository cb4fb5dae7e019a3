#include "execution/ImageConversion.h"

#include "execution/ErrorLine.h"
#include "support/Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace torvo {

namespace {

using namespace std::string_view_literals;

constexpr std::array kImageExtensions{"png"sv,  "jpg"sv,  "jpeg"sv, "gif"sv, "heic"sv,
                                      "heif"sv, "tiff"sv, "tif"sv,  "bmp"sv, "webp"sv};

} // namespace

std::vector<FileURL> imageItems(const std::vector<FileURL>& items) {
    std::vector<FileURL> images;
    std::ranges::copy_if(items, std::back_inserter(images), [](const FileURL& item) {
        return std::ranges::find(kImageExtensions, lowercased(item.pathExtension())) != kImageExtensions.end();
    });
    return images;
}

std::string_view sipsFormat(std::string_view extension) {
    if (extension == "jpg")
        return "jpeg";
    if (extension == "tif")
        return "tiff";
    return extension;
}

FileURL freeDestination(const FileURL& folder, std::string_view name, std::string_view extension) {
    auto destination = folder.appendingPath(fmt::format("{}.{}", name, extension));
    for (int i = 1; destination.isOccupied(); ++i)
        destination = folder.appendingPath(fmt::format("{}-{}.{}", name, i, extension));
    return destination;
}

void removeNewFiles(const std::vector<FileURL>& files) {
    for (const auto& file : files)
        ::unlink(file.path().c_str());
}

RunOutcome convertImages(std::string_view toExt, const std::vector<FileURL>& selection, const ConversionTools& tools,
                         ProcessRunner& processes, Selecting& selector, const ProgressCallback& progress) {
    auto work = imageItems(selection);
    std::erase_if(work, [target = lowercased(toExt)](const FileURL& image) {
        return lowercased(image.pathExtension()) == target;
    });
    const auto format = uppercased(toExt);
    if (work.empty())
        return Noop{fmt::format("The selected images are already {} files", format)};
    const auto report = [&](std::string label, std::size_t completed) {
        if (progress)
            progress({std::move(label), completed, work.size()});
    };
    report(fmt::format("Preparing {}…", counted(work.size(), "image")), 0);

    std::vector<FileURL> created;
    for (const auto& image : work) {
        if (processes.isCancelled()) {
            removeNewFiles(created);
            return Failure{"Cancelled"};
        }
        const auto destination = freeDestination(image.deletingLastPathComponent(),
                                                 image.deletingPathExtension().lastPathComponent(), toExt);
        const auto result = processes.run(
            {tools.imageTool,
             {"-s", "format", std::string(sipsFormat(toExt)), image.path(), "--out", destination.path()}});
        const bool isCancelled = processes.isCancelled();
        if (isCancelled || result.status != 0 || !destination.exists()) {
            created.push_back(destination);
            removeNewFiles(created);
            if (isCancelled)
                return Failure{"Cancelled"};
            return Failure{
                fmt::format("Couldn't convert {}: {}", image.lastPathComponent(),
                            errorLine(result.standardOutput.text(), result.standardError.text(), result.status))};
        }
        created.push_back(destination);
        report(fmt::format("Converted {}", image.lastPathComponent()), created.size());
    }
    selector.select(created);
    return Completed{fmt::format("Converted {} to {}", counted(created.size(), "image"), format), created};
}

} // namespace torvo
