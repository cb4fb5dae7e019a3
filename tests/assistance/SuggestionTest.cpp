#include "assistance/Suggestion.h"

#include "assistance/IdeasCatalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace torvo {
namespace {

using Strings = std::vector<std::string>;

TEST(Suggestions, FitWhatMostOfTheSelectionIs) {
    const Strings images{"JPG", "PNG", "Resize 1000px", "Make smaller"};
    const Strings videos{"Compress", "To MP4", "To GIF", "Extract audio"};
    const Strings audio{"MP3", "M4A", "Trim silence"};
    const Strings pdfs{"Compress", "Split pages", "To images"};
    const auto withZip = [](Strings titles) {
        titles.emplace_back("Zip");
        return titles;
    };
    const std::pair<Strings, Strings> rows[] = {
        {{"a.png"}, images},
        {{"a.JPG", "b.HEIC"}, withZip(images)},
        {{"a.mp3", "b.mp3", "c.wav", "d.png"}, withZip(audio)},
        {{"a.mp4", "a.png"}, withZip(images)},
        {{"a.mov"}, videos},
        {{"a.pdf", "b.pdf"}, withZip(pdfs)},
        {{"a.pdf", "b.docx"}, {"Zip"}},
        {{"a.docx"}, {}},
        {{"a.zip", "b.7z"}, {"Zip"}},
        {{"folder", ".png", "a."}, {"Zip"}},
        {{"README"}, {}},
    };
    for (const auto& [names, titles] : rows) {
        std::vector<FileURL> selection;
        for (const auto& name : names)
            selection.push_back(FileURL("/f").appendingPath(name));
        Strings offered;
        for (const auto& suggestion : SuggestionEngine::suggestions(FileURL("/f"), selection))
            offered.push_back(suggestion.title);
        EXPECT_EQ(offered, titles) << names.front();
    }
    EXPECT_EQ(SuggestionEngine::suggestions(std::nullopt, {}).size(), 0U);
    EXPECT_EQ(SuggestionEngine::suggestions(FileURL("/f"), {}).front(),
              (Suggestion{"Select images", "select all images"}));
}

TEST(Ideas, AreGroupedAndDistinct) {
    std::vector<std::size_t> sizes;
    for (const auto& [name, ideas] : IdeasCatalog::groups()) {
        sizes.push_back(ideas.size());
        std::set<std::string_view> titles;
        for (const auto& idea : ideas)
            EXPECT_TRUE(titles.insert(idea.title).second && !idea.input.empty()) << name << ": " << idea.title;
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{5, 5, 5, 4, 4}));
}

} // namespace
} // namespace torvo
