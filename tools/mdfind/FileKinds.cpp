#include "FileKinds.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace torvo::mdfind {

namespace {

struct ExtensionsRow {
    KindSet kinds;
    std::string_view extensions;
};

// Each extension stands between spaces and in one row only.
constexpr ExtensionsRow kExtensions[] = {
    {kImage, " jpg jpeg jpe jfif png gif heic heif heics webp avif tif tiff bmp svg svgz ico icns psd xcf raw dng cr2 "
             "cr3 nef nrw arw orf rw2 raf pef srw jp2 j2k jxl tga pcx ppm pgm pbm pnm exr hdr eps ai "},
    {kMovie, " mp4 m4v mov avi mkv webm mpg mpeg mpe wmv flv ogv 3gp 3g2 mts m2ts vob mxf asf rm rmvb divx "},
    {kAudio, " mp3 m4a m4b aac wav wave flac ogg oga opus aif aiff aifc wma alac mid midi amr ape wv caf mka au "},
    {kPdf | kDocument, " pdf "},
    {kDocument, " doc docx docm dot dotx odt ott rtf rtfd pages tex epub mobi azw3 wpd wps xps djvu "},
    {kDocument | kText, " txt text md markdown mdown rst log org adoc asciidoc "},
    {kText, " csv tsv tab json jsonl xml html htm xhtml yaml yml toml ini conf cfg properties plist srt vtt ics "},
    {kSource | kText,
     " c h cc cpp cxx hpp hh hxx m mm cs java kt kts swift go rs py pyw rb pl pm php js mjs cjs jsx ts tsx css scss "
     "sass less sh bash zsh fish lua r jl hs ml scala clj ex exs erl dart vue sql asm s f90 pas vb ps1 bat cmake "
     "gradle "
     "make mk proto zig nim groovy qml "},
    {kArchive, " zip tar gz tgz bz2 tbz tbz2 xz txz 7z rar zst tzst lz lzma lz4 z cab cpio iso dmg jar war sit sitx "
               "deb rpm pkg xar "},
    {kApplication, " app appimage desktop exe msi flatpakref snap "},
    {kPresentation | kDocument, " ppt pptx pptm pps ppsx pot potx odp otp key keynote "},
    {kSpreadsheet | kDocument, " xls xlsx xlsm xlsb xlt xltx ods ots numbers "},
    {kFont, " ttf otf ttc woff woff2 pfb pfm dfont bdf pcf "},
    {kEmail, " eml emlx msg mbox "},
    {kContact, " vcf vcard "},
};

constexpr std::pair<std::string_view, KindSet> kKindWords[] = {
    {"image", kImage},
    {"picture", kImage},
    {"photo", kImage},
    {"movie", kMovie},
    {"video", kMovie},
    {"film", kMovie},
    {"music", kAudio},
    {"audio", kAudio},
    {"sound", kAudio},
    {"song", kAudio},
    {"pdf", kPdf},
    {"folder", kFolder},
    {"directory", kFolder},
    {"directorie", kFolder},
    {"document", kDocument},
    {"doc", kDocument},
    {"text", kText},
    {"source", kSource},
    {"code", kSource},
    {"archive", kArchive},
    {"application", kApplication},
    {"app", kApplication},
    {"presentation", kPresentation},
    {"spreadsheet", kSpreadsheet},
    {"font", kFont},
    {"email", kEmail},
    {"mail", kEmail},
    {"contact", kContact},
};

constexpr KindSet kAnything = ~KindSet{0};

// The identifiers of Apple's uniform types that people search for (developer.apple.com, UniformTypeIdentifiers).
constexpr std::pair<std::string_view, ContentType> kTypes[] = {
    {"public.image", {kImage, ""}},
    {"public.movie", {kMovie, ""}},
    {"public.video", {kMovie, ""}},
    {"public.audiovisual-content", {kMovie | kAudio, ""}},
    {"public.audio", {kAudio, ""}},
    {"public.text", {kText, ""}},
    {"public.source-code", {kSource, ""}},
    {"public.archive", {kArchive, ""}},
    {"public.folder", {kFolder, ""}},
    {"public.directory", {kFolder, ""}},
    {"public.font", {kFont, ""}},
    {"public.presentation", {kPresentation, ""}},
    {"public.spreadsheet", {kSpreadsheet, ""}},
    {"public.composite-content", {kDocument, ""}},
    {"public.email-message", {kEmail, ""}},
    {"public.vcard", {kContact, ""}},
    {"public.executable", {kApplication, ""}},
    {"com.apple.application", {kApplication, ""}},
    {"com.apple.application-bundle", {kApplication, ""}},
    {"com.adobe.pdf", {kPdf, ""}},
    {"public.item", {kAnything, ""}},
    {"public.data", {kAnything & ~kFolder, ""}},
    {"public.content", {kAnything & ~kFolder, ""}},
    {"public.jpeg", {0, " jpg jpeg jpe jfif "}},
    {"public.png", {0, " png "}},
    {"public.tiff", {0, " tif tiff "}},
    {"public.heic", {0, " heic "}},
    {"public.heif", {0, " heif "}},
    {"public.svg-image", {0, " svg svgz "}},
    {"public.camera-raw-image", {0, " raw dng cr2 cr3 nef nrw arw orf rw2 raf pef srw "}},
    {"com.compuserve.gif", {0, " gif "}},
    {"com.microsoft.bmp", {0, " bmp "}},
    {"org.webmproject.webp", {0, " webp "}},
    {"com.adobe.photoshop-image", {0, " psd "}},
    {"public.mpeg-4", {0, " mp4 "}},
    {"com.apple.quicktime-movie", {0, " mov "}},
    {"com.apple.m4v-video", {0, " m4v "}},
    {"public.mp3", {0, " mp3 "}},
    {"public.mpeg-4-audio", {0, " m4a "}},
    {"com.microsoft.waveform-audio", {0, " wav wave "}},
    {"public.plain-text", {0, " txt text log "}},
    {"net.daringfireball.markdown", {0, " md markdown mdown "}},
    {"public.html", {0, " html htm xhtml "}},
    {"public.xml", {0, " xml "}},
    {"public.json", {0, " json "}},
    {"public.rtf", {0, " rtf "}},
    {"public.comma-separated-values-text", {0, " csv "}},
    {"public.python-script", {0, " py pyw "}},
    {"public.shell-script", {0, " sh bash zsh "}},
    {"public.zip-archive", {0, " zip "}},
    {"com.pkware.zip-archive", {0, " zip "}},
    {"public.tar-archive", {0, " tar "}},
    {"org.gnu.gnu-zip-archive", {0, " gz tgz "}},
    {"com.apple.disk-image", {0, " dmg iso "}},
    {"com.microsoft.word.doc", {0, " doc "}},
    {"org.openxmlformats.wordprocessingml.document", {0, " docx "}},
    {"com.microsoft.excel.xls", {0, " xls "}},
    {"org.openxmlformats.spreadsheetml.sheet", {0, " xlsx "}},
    {"com.microsoft.powerpoint.ppt", {0, " ppt "}},
    {"org.openxmlformats.presentationml.presentation", {0, " pptx "}},
};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

/// The rows by extension, taken apart once.
const std::unordered_map<std::string_view, KindSet>& kindsByExtension() {
    static const auto kinds = [] {
        std::unordered_map<std::string_view, KindSet> map;
        for (const ExtensionsRow& row : kExtensions)
            for (std::size_t at = 1; at < row.extensions.size(); at = row.extensions.find(' ', at) + 1)
                map[row.extensions.substr(at, row.extensions.find(' ', at) - at)] = row.kinds;
        return map;
    }();
    return kinds;
}

} // namespace

std::string lowerExtension(std::string_view name) {
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string() : lowered(name.substr(dot + 1));
}

KindSet kindsOf(std::string_view name, bool isFolder) {
    const auto found = kindsByExtension().find(lowerExtension(name));
    const KindSet kinds = found == kindsByExtension().end() ? 0 : found->second;
    return isFolder ? kFolder | (kinds & kApplication) : kinds;
}

std::optional<KindSet> kindsNamed(std::string_view word) {
    std::string name = lowered(word);
    for (int plural = 0; plural < 2; ++plural) {
        for (const auto& [kindWord, kinds] : kKindWords)
            if (kindWord == name)
                return kinds;
        if (!name.ends_with('s'))
            break;
        name.pop_back();
    }
    return std::nullopt;
}

std::optional<ContentType> contentTypeNamed(std::string_view identifier) {
    const std::string name = lowered(identifier);
    const auto* found = std::ranges::find(kTypes, name, &std::pair<std::string_view, ContentType>::first);
    if (found == std::end(kTypes))
        return std::nullopt;
    return found->second;
}

std::string kindDescription(std::string_view name, bool isFolder) {
    constexpr std::pair<KindSet, std::string_view> kWords[] = {
        {kApplication, "application"},
        {kFolder, "folder"},
        {kImage, "image"},
        {kMovie, "movie"},
        {kAudio, "audio"},
        {kPresentation, "presentation"},
        {kSpreadsheet, "spreadsheet"},
        {kSource, "source"},
        {kArchive, "archive"},
        {kFont, "font"},
        {kText, "text"},
        {kDocument, "document"},
        {kEmail, "email message"},
        {kContact, "contact"},
    };
    const KindSet kinds = kindsOf(name, isFolder);
    std::string extension = lowerExtension(name);
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    if (isFolder)
        return (kinds & kApplication) != 0 ? "Application" : "Folder";
    for (const auto& [kind, word] : kWords)
        if ((kinds & kind) != 0)
            return extension + " " + std::string(word);
    return extension.empty() ? "Document" : extension + " document";
}

} // namespace torvo::mdfind
