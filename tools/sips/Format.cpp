#include "Format.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <utility>

namespace torvo::sips {
namespace {

constexpr std::array<std::pair<std::string_view, Format>, 10> kNames{{
    {"png", Format::png},
    {"jpeg", Format::jpeg},
    {"jpg", Format::jpeg},
    {"tiff", Format::tiff},
    {"tif", Format::tiff},
    {"gif", Format::gif},
    {"bmp", Format::bmp},
    {"heic", Format::heic},
    {"heif", Format::heic},
    {"webp", Format::webp},
}};

} // namespace

std::optional<Format> formatNamed(std::string_view name) {
    std::string lower(name);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto found = std::ranges::find(kNames, std::string_view(lower), &std::pair<std::string_view, Format>::first);
    return found == kNames.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Format> formatOfPath(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return std::nullopt;
    return formatNamed(name.substr(dot + 1));
}

std::optional<Format> formatOfContent(std::span<const std::uint8_t> content) {
    // The magic numbers of file(1); for heic the brands of ISO/IEC 23008-12, annex B.4.
    const std::string start(content.begin(),
                            content.begin() + static_cast<long>(std::min<std::size_t>(12, content.size())));
    const auto startsWith = [&](std::string_view magic) { return start.starts_with(magic); };
    if (startsWith("\x89PNG\r\n\x1a\n"))
        return Format::png;
    if (startsWith("\xff\xd8\xff"))
        return Format::jpeg;
    if (startsWith(std::string_view("II*\0", 4)) || startsWith(std::string_view("MM\0*", 4)) ||
        startsWith(std::string_view("II+\0", 4)) || startsWith(std::string_view("MM\0+", 4)))
        return Format::tiff;
    if (startsWith("GIF87a") || startsWith("GIF89a"))
        return Format::gif;
    if (startsWith("BM"))
        return Format::bmp;
    if (start.size() < 12)
        return std::nullopt;
    if (startsWith("RIFF") && start.substr(8, 4) == "WEBP")
        return Format::webp;
    if (start.substr(4, 4) == "ftyp") {
        const std::string brand = start.substr(8, 4);
        if (brand == "heic" || brand == "heix" || brand == "hevc" || brand == "hevx" || brand == "heim" ||
            brand == "heis" || brand == "mif1" || brand == "msf1")
            return Format::heic;
    }
    return std::nullopt;
}

std::string_view nameOf(Format format) {
    return std::ranges::find(kNames, format, &std::pair<std::string_view, Format>::second)->first;
}

std::string_view extensionOf(Format format) {
    return format == Format::jpeg ? "jpg" : nameOf(format);
}

bool holdsTransparency(Format format) {
    return format != Format::jpeg && format != Format::bmp;
}

bool holdsColourProfile(Format format) {
    return format != Format::gif && format != Format::bmp;
}

bool holdsSixteenBits(Format format) {
    return format == Format::png || format == Format::tiff;
}

bool holdsInks(Format format) {
    return format == Format::jpeg || format == Format::tiff;
}

bool holdsFrames(Format format) {
    return format == Format::gif || format == Format::webp || format == Format::tiff;
}

} // namespace torvo::sips
