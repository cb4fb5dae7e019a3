#include "assistance/IdeasCatalog.h"

#include <array>

namespace torvo::IdeasCatalog {

namespace {

constexpr std::array kSelect{Idea{"All PNGs", "select all png"}, Idea{"All images", "select all images"},
                             Idea{"5 largest files", "select the 5 largest files"},
                             Idea{"Modified today", "select files modified today"},
                             Idea{"Bigger than 10 MB", "select files over 10mb"}};
constexpr std::array kImages{Idea{"Convert to JPG", "jpg"}, Idea{"Convert to PNG", "png"},
                             Idea{"Resize to 1000px wide", "resize to 1000px wide"},
                             Idea{"Make 300px thumbnails", "make 300px thumbnails"},
                             Idea{"Strip EXIF / location", "strip exif and location metadata"}};
constexpr std::array kVideo{Idea{"Compress video", "compress and make smaller"},
                            Idea{"Convert to MP4", "convert to mp4"}, Idea{"Make a GIF", "convert to an animated gif"},
                            Idea{"Extract audio", "extract the audio as m4a"},
                            Idea{"Trim first 10s", "trim to the first 10 seconds"}};
constexpr std::array kPDF{
    Idea{"Compress PDF", "compress this pdf"}, Idea{"Split into pages", "split into one pdf per page"},
    Idea{"Merge PDFs", "merge these pdfs into one"}, Idea{"Pages to images", "export each page as a png"}};
constexpr std::array kOrganize{Idea{"Zip", "zip"}, Idea{"Number them", "rename these 001, 002, and so on"},
                               Idea{"Lowercase names", "lowercase the file names"},
                               Idea{"Spaces → dashes", "replace spaces with dashes in the names"}};

constexpr std::array kGroups{IdeaGroup{"Select", kSelect}, IdeaGroup{"Images", kImages},
                             IdeaGroup{"Video & audio", kVideo}, IdeaGroup{"PDF", kPDF},
                             IdeaGroup{"Organize", kOrganize}};

} // namespace

std::span<const IdeaGroup> groups() {
    return kGroups;
}

} // namespace torvo::IdeasCatalog
