#include "planning/PresetEngine.h"

#include "support/Text.h"

#include <gtest/gtest.h>

namespace torvo {
namespace {

/// What `text` means, in short: "all", "none", the extensions, "-> jpg", "zip", or "nothing".
std::string meaningOf(std::string_view text) {
    const auto action = PresetEngine::match(text);
    if (!action)
        return "nothing";
    if (const auto* convert = std::get_if<ConvertImages>(&*action))
        return "-> " + convert->toExt;
    if (std::holds_alternative<ZipSelection>(*action))
        return "zip";
    const auto& spec = std::get<Select>(*action).spec.value;
    if (const auto* extensions = std::get_if<SelectionSpec::Extensions>(&spec))
        return joined(extensions->list, " ");
    return std::holds_alternative<SelectionSpec::All>(spec) ? "all" : "none";
}

constexpr const char* kImages = "png jpg jpeg gif heic heif tiff tif bmp webp";

TEST(PresetEngine, UnderstandsTheCommonCommands) {
    const std::pair<const char*, std::string> rows[] = {
        {"Select all PNG.", "png"},
        {"select images and videos", std::string(kImages) + " mp4 mov m4v avi mkv webm"},
        {"select jpg, png", "jpg jpeg png"},
        {"select png jpg png", "png jpg jpeg"},
        {"highlight everything", "all"},
        {"select", "all"},
        {"select all the files", "all"},
        {"highlight every item", "nothing"},
        {"select .abc", "abc"},
        {"select *.abc and .ABC", "abc"},
        {"select abc", "nothing"},
        {"select exe", "nothing"},
        {"select .photos.", kImages},
        {"select iso markdown swift", "iso markdown swift"},
        {"select .toolongext", "nothing"},
        {"select .a-b", "nothing"},
        {"select big files", "nothing"},
        {"select png and foo", "nothing"},
        {"select png,", "png"},
        {"select all, png", "nothing"},
        {"select , png", "png"},
        {"select and", "nothing"},
        {"select doc", "pdf doc docx txt rtf pages md"},
        {"select pdf and documents", "pdf doc docx txt rtf pages md"},
        {"select tif heic", "tif tiff heic heif"},
        {"select 7z or sounds", "7z mp3 m4a wav aac flac aiff"},
        {"select png..", "png"},
        {"select *.png", "png"},
        {"select *", "nothing"},
        {"select .", "all"},
        {"select\tall \t png", "png"},
        {"select\npng", "nothing"},
        {"select .ab\ncd", "nothing"},
        {"  \n select png \u00A0\u2028", "png"},
        {"unselect all", "none"},
        {"select none", "none"},
        {"Clear.", "none"},
        {"deselect png", "nothing"},
        {"jpg", "-> jpg"},
        {"JPEG", "-> jpg"},
        {"convert to jpeg", "-> jpg"},
        {"make a jpg", "-> jpg"},
        {"tif", "-> tiff"},
        {"as heic.", "-> heic"},
        {"convert these to png", "nothing"},
        {"png jpg", "nothing"},
        {"webp", "nothing"},
        {"convert to", "nothing"},
        {"zip", "zip"},
        {"compress  these", "zip"},
        {"zip it", "nothing"},
        {"", "nothing"},
        {" \t\n", "nothing"},
        {".", "nothing"},
        {"S\u0130ELECT", "nothing"},
        {"\xFFselect", "nothing"},
    };
    for (const auto& [text, meaning] : rows)
        EXPECT_EQ(meaningOf(text), meaning) << "“" << text << "”";
}

TEST(PresetEngine, NormalisesWithoutTouchingInnerLineBreaks) {
    EXPECT_EQ(PresetEngine::normalize(" \tSelect   ALL\u00A0png\t. "), "select all\u00A0png");
    EXPECT_EQ(PresetEngine::normalize("a\n b.."), "a\n b.");
    EXPECT_EQ(PresetEngine::normalize("\u00C9T\u00C9"), "\u00E9t\u00E9");
    EXPECT_EQ(PresetEngine::normalize("\xC9 X"), "\xC9 x") << "ill-formed bytes stay";
}

} // namespace
} // namespace torvo
