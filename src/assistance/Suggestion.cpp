#include "assistance/Suggestion.h"

#include "support/Text.h"

#include <algorithm>
#include <array>
#include <span>

namespace torvo::SuggestionEngine {

namespace {

using namespace std::string_view_literals;

struct Chip {
    std::string_view title;
    std::string_view input;
};

constexpr std::array kImageChips{Chip{"JPG", "jpg"}, Chip{"PNG", "png"}, Chip{"Resize 1000px", "resize to 1000px wide"},
                                 Chip{"Make smaller", "make these images smaller"}};
constexpr std::array kVideoChips{Chip{"Compress", "compress and make smaller"}, Chip{"To MP4", "convert to mp4"},
                                 Chip{"To GIF", "convert to an animated gif"},
                                 Chip{"Extract audio", "extract the audio as m4a"}};
constexpr std::array kAudioChips{Chip{"MP3", "convert to mp3"}, Chip{"M4A", "convert to m4a"},
                                 Chip{"Trim silence", "trim leading and trailing silence"}};
constexpr std::array kPDFChips{Chip{"Compress", "compress this pdf"},
                               Chip{"Split pages", "split into one pdf per page"},
                               Chip{"To images", "export each page as a png"}};
constexpr std::array kFolderChips{Chip{"Select images", "select all images"}, Chip{"Select PDFs", "select all pdf"},
                                  Chip{"Largest files", "select the 5 largest files"},
                                  Chip{"Newest", "select the 10 most recently modified files"}};

constexpr std::array kImages{"png"sv,  "jpg"sv,  "jpeg"sv, "gif"sv, "heic"sv,
                             "heif"sv, "tiff"sv, "tif"sv,  "bmp"sv, "webp"sv};
constexpr std::array kVideos{"mp4"sv, "mov"sv, "m4v"sv, "avi"sv, "mkv"sv, "webm"sv};
constexpr std::array kAudio{"mp3"sv, "m4a"sv, "wav"sv, "aac"sv, "flac"sv, "aiff"sv};
constexpr std::array kPDFs{"pdf"sv};
constexpr std::array kDocuments{"pdf"sv, "doc"sv, "docx"sv, "txt"sv, "rtf"sv, "pages"sv, "md"sv};
constexpr std::array kArchives{"zip"sv, "tar"sv, "gz"sv, "tgz"sv, "rar"sv, "7z"sv};

/// A kind of files, and what can be done with them.
struct Category {
    std::span<const std::string_view> extensions;
    std::span<const Chip> chips;
};

/// The first of those that hold most of the files counts.
const std::array kCategories{Category{kImages, kImageChips}, Category{kVideos, kVideoChips},
                             Category{kAudio, kAudioChips},  Category{kPDFs, kPDFChips},
                             Category{kDocuments, {}},       Category{kArchives, {}}};

std::span<const Chip> chipsOf(const std::vector<FileURL>& selection) {
    std::array<std::size_t, kCategories.size()> counts{};
    for (const auto& file : selection) {
        const auto extension = lowercased(file.pathExtension());
        for (std::size_t i = 0; i < kCategories.size(); ++i)
            counts.at(i) += std::ranges::find(kCategories[i].extensions, extension) != kCategories[i].extensions.end();
    }
    const auto most = std::ranges::max_element(counts);
    return *most == 0 ? std::span<const Chip>() : kCategories.at(static_cast<std::size_t>(most - counts.begin())).chips;
}

} // namespace

std::vector<Suggestion> suggestions(const std::optional<FileURL>& folder, const std::vector<FileURL>& selection) {
    std::span<const Chip> chips;
    if (!selection.empty())
        chips = chipsOf(selection);
    else if (folder)
        chips = kFolderChips;
    std::vector<Suggestion> list;
    for (const auto& [title, input] : chips)
        list.push_back({std::string(title), std::string(input)});
    if (selection.size() > 1)
        list.push_back({"Zip", "zip"});
    return list;
}

} // namespace torvo::SuggestionEngine
