#include "Converter.h"

#include "Files.h"
#include "Printable.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace torvo::sips {
namespace {

std::string line(Property property, const PictureFacts& facts, Format format) {
    switch (property) {
    case Property::pixelWidth:
        return "pixelWidth: " + std::to_string(facts.width);
    case Property::pixelHeight:
        return "pixelHeight: " + std::to_string(facts.height);
    case Property::format:
        return "format: " + std::string(nameOf(format));
    case Property::space:
        return "space: " + facts.space;
    case Property::bitsPerSample:
        return "bitsPerSample: " + std::to_string(facts.bitsPerSample);
    case Property::hasAlpha:
        return std::string("hasAlpha: ") + (facts.hasAlpha ? "yes" : "no");
    }
    return "";
}

} // namespace

template <typename Result, typename Ask>
std::expected<Result, std::string> Converter::askRoads(Ask ask) {
    std::expected<Result, Refusal> answer = ask(m_quickRoad);
    if (!answer && answer.error().kind == Refusal::Kind::stepsAside) {
        Road* const slowRoad = m_slowRoad();
        if (slowRoad == nullptr)
            return std::unexpected("this kind of picture needs libvips, which cannot be loaded");
        answer = ask(*slowRoad);
    }
    if (!answer)
        return std::unexpected(std::move(answer.error().reason));
    return std::move(*answer);
}

/// Whether a JPEG file has its end marker (ITU-T T.81, B.1.1.3: FF D9). The decoder misses it only when it happens to
/// look ahead that far for the last pixels: whether a file without it would be refused depended on what is in it.
static bool hasJpegEnd(std::span<const std::uint8_t> bytes) {
    constexpr std::array<std::uint8_t, 2> kEnd{0xFF, 0xD9};
    return !std::ranges::search(bytes, kEnd).empty();
}

std::expected<void, std::string> Converter::process(const Job& job, const std::string& input) {
    const std::expected<FileBytes, std::string> source = readWhole(input);
    if (!source)
        return std::unexpected(source.error());
    const std::optional<Format> format = formatOfContent(source->span());
    if (!format)
        return std::unexpected(source->size == 0 ? "the file is empty" : "not a picture of a known format");
    if (!job.properties.empty()) {
        if (const auto printed = print(job, input, source->span(), *format); !printed)
            return printed;
    }
    if (job.writes() && *format == Format::jpeg && !hasJpegEnd(source->span()))
        return std::unexpected("the picture is damaged or incomplete");
    return job.writes() ? write(job, input, source->span(), *format) : std::expected<void, std::string>();
}

std::expected<void, std::string> Converter::print(const Job& job, const std::string& input,
                                                  std::span<const std::uint8_t> source, Format format) {
    const auto facts = askRoads<PictureFacts>([&](Road& road) { return road.describe(source, format); });
    if (!facts)
        return std::unexpected(facts.error());
    std::string text = resolvedPath(input) + "\n";
    for (const Property property : job.properties)
        text += "  " + line(property, *facts, format) + "\n";
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return std::unexpected("cannot print");
    return {};
}

std::expected<void, std::string> Converter::write(const Job& job, const std::string& input,
                                                  std::span<const std::uint8_t> source, Format format) {
    const bool outputIsFolder = job.output && isFolder(*job.output);
    const Format newFormat = targetFormat(job, outputIsFolder, format);
    const std::string path = targetPath(job, outputIsFolder, input, newFormat);
    const std::string resolved = resolvedPath(path);
    if (m_written.contains(resolved))
        return std::unexpected("would replace the result of another picture, " + printable(path));

    const Task task{.source = source,
                    .sourceFormat = format,
                    .targetFormat = newFormat,
                    .operations = job.operations,
                    .quality = job.quality};
    const auto picture = askRoads<EncodedPicture>([&](Road& road) { return road.convert(task); });
    if (!picture)
        return std::unexpected(picture.error());
    if (const auto written = replaceFile(path, {picture->bytes.get(), picture->size}); !written)
        return std::unexpected("cannot write " + printable(path) + ": " + written.error());
    m_written.insert(resolved);
    if (!job.output && newFormat != format && formatOfPath(input) != newFormat)
        std::fprintf(stderr, "sips: %s: note: the file holds %s now, which its name does not say\n",
                     printable(input).c_str(), std::string(nameOf(newFormat)).c_str());
    return {};
}

} // namespace torvo::sips
