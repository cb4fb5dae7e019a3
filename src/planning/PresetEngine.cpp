#include "planning/PresetEngine.h"

#include "support/Text.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <unordered_set>
#include <utility>

namespace torvo::PresetEngine {

namespace {

using namespace std::string_view_literals;
using Words = std::span<const std::string_view>;

struct ExtensionGroup {
    Words aliases;
    Words extensions;
};

constexpr std::array kImageAliases{"image"sv,  "images"sv, "img"sv,  "imgs"sv,    "photo"sv,
                                   "photos"sv, "pic"sv,    "pics"sv, "picture"sv, "pictures"sv};
constexpr std::array kImages{"png"sv,  "jpg"sv,  "jpeg"sv, "gif"sv, "heic"sv,
                             "heif"sv, "tiff"sv, "tif"sv,  "bmp"sv, "webp"sv};
constexpr std::array kVideoAliases{"video"sv, "videos"sv, "movie"sv, "movies"sv, "clip"sv, "clips"sv};
constexpr std::array kVideos{"mp4"sv, "mov"sv, "m4v"sv, "avi"sv, "mkv"sv, "webm"sv};
constexpr std::array kAudioAliases{"audio"sv, "sound"sv, "sounds"sv, "song"sv, "songs"sv, "music"sv};
constexpr std::array kAudio{"mp3"sv, "m4a"sv, "wav"sv, "aac"sv, "flac"sv, "aiff"sv};
constexpr std::array kDocumentAliases{"document"sv, "documents"sv, "doc"sv, "docs"sv};
constexpr std::array kDocuments{"pdf"sv, "doc"sv, "docx"sv, "txt"sv, "rtf"sv, "pages"sv, "md"sv};
constexpr std::array kArchiveAliases{"archive"sv, "archives"sv};
constexpr std::array kArchives{"zip"sv, "tar"sv, "gz"sv, "tgz"sv, "rar"sv, "7z"sv};
constexpr std::array kPdfAliases{"pdf"sv, "pdfs"sv};
constexpr std::array kPdf{"pdf"sv};

constexpr std::array<ExtensionGroup, 6> kGroups{{
    {kImageAliases, kImages},
    {kVideoAliases, kVideos},
    {kAudioAliases, kAudio},
    {kDocumentAliases, kDocuments},
    {kArchiveAliases, kArchives},
    {kPdfAliases, kPdf},
}};

/// Two spellings of one format: either names both.
constexpr std::array<std::array<std::string_view, 2>, 3> kSpellings{{
    {"jpg"sv, "jpeg"sv},
    {"tif"sv, "tiff"sv},
    {"heic"sv, "heif"sv},
}};

constexpr std::array kFurtherExtensions{
    "svg"sv, "ico"sv,  "raw"sv,  "dng"sv, "flv"sv,   "wmv"sv, "mpg"sv,  "mpeg"sv,    "ogg"sv, "opus"sv,
    "csv"sv, "tsv"sv,  "json"sv, "xml"sv, "yaml"sv,  "yml"sv, "html"sv, "htm"sv,     "md"sv,  "markdown"sv,
    "css"sv, "js"sv,   "ts"sv,   "py"sv,  "swift"sv, "c"sv,   "cpp"sv,  "h"sv,       "hpp"sv, "java"sv,
    "rb"sv,  "go"sv,   "rs"sv,   "sh"sv,  "zsh"sv,   "sql"sv, "key"sv,  "numbers"sv, "ppt"sv, "pptx"sv,
    "xls"sv, "xlsx"sv, "dmg"sv,  "pkg"sv, "app"sv,   "iso"sv,
};

/// What image conversion may produce.
constexpr std::array kImageOutputs{"jpg"sv, "jpeg"sv, "png"sv, "tiff"sv, "tif"sv, "gif"sv, "bmp"sv, "heic"sv};

constexpr std::array kDeselectPhrases{"deselect"sv, "deselect all"sv,    "select none"sv,
                                      "clear"sv,    "clear selection"sv, "unselect all"sv};
constexpr std::array kSelectionVerbs{"select"sv, "highlight"sv};
constexpr std::array kSelectionFillers{"select"sv,     "highlight"sv, "all"sv,  "the"sv,  "every"sv,
                                       "everything"sv, "files"sv,     "file"sv, "items"sv};
constexpr std::array kConversionFillers{"to"sv, "as"sv, "convert"sv, "make"sv, "into"sv, "a"sv, "an"sv};
constexpr std::array kZipPhrases{"zip"sv, "compress"sv, "zip these"sv, "zip selection"sv, "compress these"sv};

bool isIn(Words list, std::string_view word) {
    return std::ranges::find(list, word) != list.end();
}

const std::unordered_set<std::string_view>& knownExtensions() {
    static const auto extensions = [] {
        std::unordered_set<std::string_view> all(kFurtherExtensions.begin(), kFurtherExtensions.end());
        for (const auto& group : kGroups)
            all.insert(group.extensions.begin(), group.extensions.end());
        return all;
    }();
    return extensions;
}

/// One to eight lower-case ASCII letters and digits.
bool isShortExtension(std::string_view text) {
    return !text.empty() && text.size() <= 8 &&
           std::ranges::all_of(text, [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

std::vector<std::string> strings(Words words) {
    return {words.begin(), words.end()};
}

} // namespace

std::optional<Action> match(std::string_view text) {
    const auto input = normalize(text);
    if (input.empty())
        return std::nullopt;
    const auto tokens = split(input, ' ');
    if (auto selection = matchSelection(input, tokens))
        return selection;
    if (auto conversion = matchConversion(input, tokens))
        return conversion;
    if (isIn(kZipPhrases, input))
        return ZipSelection{};
    return std::nullopt;
}

std::string normalize(std::string_view text) {
    const auto lower = lowercased(text);
    auto rest = trimmed(lower, TextTrim::spacesAndLineBreaks);
    if (rest.ends_with('.'))
        rest.remove_suffix(1);
    std::string normalized;
    normalized.reserve(rest.size());
    for (const auto word : splitNonEmpty(rest, " \t")) {
        if (!normalized.empty())
            normalized += ' ';
        normalized += word;
    }
    return normalized;
}

std::optional<std::vector<std::string>> extensionsForToken(std::string_view token) {
    const auto lower = lowercased(token);
    const bool isWrittenAsExtension = lower.starts_with('.') || lower.starts_with("*.");
    const auto name = trimmedOf(lower, ".*");
    if (name.empty())
        return std::nullopt;
    for (const auto& group : kGroups) {
        if (isIn(group.aliases, name))
            return strings(group.extensions);
    }
    for (const auto& pair : kSpellings) {
        if (isIn(pair, name))
            return strings(pair);
    }
    if (isWrittenAsExtension ? isShortExtension(name) : knownExtensions().contains(name))
        return std::vector{std::string(name)};
    return std::nullopt;
}

std::optional<Action> matchSelection(std::string_view input, std::span<const std::string_view> tokens) {
    if (isIn(kDeselectPhrases, input))
        return Select{{SelectionSpec::None{}}};
    if (tokens.empty() || !isIn(kSelectionVerbs, tokens.front()))
        return std::nullopt;
    bool namesTypes = false;
    std::vector<std::string> collected;
    for (const auto token : tokens) {
        if (isIn(kSelectionFillers, token))
            continue;
        namesTypes = true;
        std::string word(token);
        std::erase(word, ',');
        if (word.empty() || word == "and" || word == "or")
            continue;
        const auto extensions = extensionsForToken(word);
        if (!extensions)
            return std::nullopt;
        collected.insert(collected.end(), extensions->begin(), extensions->end());
    }
    if (!namesTypes)
        return Select{{SelectionSpec::All{}}};
    if (collected.empty())
        return std::nullopt;
    return Select{{SelectionSpec::Extensions{dedupePreservingOrder(std::move(collected))}}};
}

std::optional<Action> matchConversion(std::string_view /*input*/, std::span<const std::string_view> tokens) {
    std::optional<std::string_view> format;
    for (const auto token : tokens) {
        if (isIn(kConversionFillers, token))
            continue;
        if (format)
            return std::nullopt;
        format = token;
    }
    if (!format || !isIn(kImageOutputs, *format))
        return std::nullopt;
    if (format == "jpeg")
        format = "jpg";
    if (format == "tif")
        format = "tiff";
    return ConvertImages{std::string(*format)};
}

std::vector<std::string> dedupePreservingOrder(std::vector<std::string> list) {
    std::unordered_set<std::string> seen;
    std::erase_if(list, [&](const std::string& entry) { return !seen.insert(entry).second; });
    return list;
}

} // namespace torvo::PresetEngine
