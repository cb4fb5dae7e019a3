#include "VipsPicture.h"

#include "Printable.h"

#include <cstring>
#include <utility>
#include <vips/vips8>

namespace torvo::sips {
namespace {

using vips::VImage;
using vips::VOption;

const char* loaderOf(Format format) {
    switch (format) {
    case Format::png:
        return "pngload_buffer";
    case Format::jpeg:
        return "jpegload_buffer";
    case Format::tiff:
        return "tiffload_buffer";
    case Format::gif:
        return "gifload_buffer";
    case Format::heic:
        return "heifload_buffer";
    case Format::webp:
        return "webpload_buffer";
    case Format::bmp:
        return "magickload_buffer";
    }
    return "";
}

/// Lost pixels are a mere warning to libjpeg, which paints them grey; the other libraries warn of small matters only.
VipsFailOn failureLevel(Format format) {
    return format == Format::jpeg ? VIPS_FAIL_ON_WARNING : VIPS_FAIL_ON_ERROR;
}

bool holdsProfile(const VImage& image) {
    return image.get_typeof(VIPS_META_ICC_NAME) != 0;
}

VImage inStandardColours(const VImage& image) {
    const bool isCmyk = image.interpretation() == VIPS_INTERPRETATION_CMYK;
    VOption* const options = VImage::option()->set("embedded", true)->set("intent", VIPS_INTENT_RELATIVE);
    if (isCmyk)
        options->set("input_profile", "cmyk");
    try {
        return image.icc_transform("srgb", options);
    } catch (const vips::VError&) {
        // A profile that does not belong to these colours says nothing about them.
        return isCmyk ? image.colourspace(VIPS_INTERPRETATION_sRGB) : image;
    }
}

bool isPlain(VipsInterpretation interpretation) {
    return interpretation == VIPS_INTERPRETATION_sRGB || interpretation == VIPS_INTERPRETATION_B_W ||
           interpretation == VIPS_INTERPRETATION_RGB16 || interpretation == VIPS_INTERPRETATION_GREY16;
}

VImage withEightBits(const VImage& image) {
    if (image.format() == VIPS_FORMAT_UCHAR)
        return image;
    const bool isGrey = image.bands() < 3;
    const VipsInterpretation plain = isGrey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
    if (image.format() == VIPS_FORMAT_USHORT)
        return image.cast(VIPS_FORMAT_UCHAR, VImage::option()->set("shift", true))
            .copy(VImage::option()->set("interpretation", plain));
    return image.colourspace(plain).cast(VIPS_FORMAT_UCHAR);
}

void saveTo(void** bytes, std::size_t* size, const char* saver, const VImage& image, VOption* options) {
    VipsBlob* blob = nullptr;
    VImage::call(saver, options->set("in", image)->set("buffer", &blob));
    VipsArea* const area = VIPS_AREA(blob);
    // The blob gives its memory away instead of freeing it with itself.
    *bytes = std::exchange(area->data, nullptr);
    *size = area->length;
    area->free_fn = nullptr;
    vips_area_unref(area);
}

} // namespace

bool startVips() {
    if (vips_init("sips") != 0)
        return false;
    // One picture is converted once: remembering results would only hold memory.
    vips_cache_set_max(0);
    // Every failure reaches the user as one line of ours; what the libraries would print beside it is left out.
    g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    return true;
}

VImage openPicture(std::span<const std::uint8_t> source, Format format, Frames frames) {
    // What libvips says from here on is about this picture.
    vips_error_clear();
    VipsBlob* const blob = vips_blob_new(nullptr, source.data(), source.size());
    VImage image;
    VOption* const options = VImage::option()
                                 ->set("buffer", blob)
                                 ->set("out", &image)
                                 ->set("access", VIPS_ACCESS_SEQUENTIAL)
                                 ->set("fail_on", failureLevel(format));
    if (frames == Frames::all)
        options->set("n", -1);
    vips_area_unref(VIPS_AREA(blob));
    VImage::call(loaderOf(format), options);
    // libvips 8.14 loses a failure in the last rows when it has several workers: another one, for which nothing is
    // left, ends the evaluation as a success while the last rows are still being read (mended by libvips pull request
    // 4116). Reading goes row by row anyway.
    image = image.copy();
    image.set(VIPS_META_CONCURRENCY, 1);
    return image;
}

VImage inMemory(const VImage& image) {
    VImage whole = image.copy_memory().copy();
    whole.remove(VIPS_META_CONCURRENCY);
    return whole;
}

int frameHeightOf(const VImage& image) {
    return vips_image_get_page_height(image.get_image());
}

bool needsTurning(const VImage& image) {
    return vips_image_get_orientation(image.get_image()) > 1;
}

VImage suitedTo(VImage image, Format format) {
    const bool hasInks = image.interpretation() == VIPS_INTERPRETATION_CMYK;
    if ((hasInks && !holdsInks(format)) || (!holdsColourProfile(format) && holdsProfile(image))) {
        image = inStandardColours(image).copy();
        if (!holdsColourProfile(format))
            image.remove(VIPS_META_ICC_NAME);
    } else if (!hasInks && !isPlain(image.interpretation()) && format != Format::tiff)
        image = image.colourspace(image.bands() < 3 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB);
    if (!holdsSixteenBits(format))
        image = withEightBits(image);
    if (image.has_alpha() && !holdsTransparency(format))
        image = image.flatten(VImage::option()->set("background", 255.0));
    return image;
}

EncodedPicture encode(const VImage& image, Format format, int quality) {
    VOption* const options = VImage::option();
    const char* saver = "";
    switch (format) {
    case Format::png:
        saver = "pngsave_buffer";
        options->set("compression", kPngCompression)->set("filter", VIPS_FOREIGN_PNG_FILTER_UP);
        break;
    case Format::jpeg:
        saver = "jpegsave_buffer";
        options->set("Q", std::max(1, quality));
        break;
    case Format::tiff:
        saver = "tiffsave_buffer";
        options->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
            ->set("predictor", VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL);
        break;
    case Format::gif:
        saver = "gifsave_buffer";
        break;
    case Format::bmp:
        saver = "magicksave_bmp_buffer";
        options->set("format", "bmp");
        break;
    case Format::heic:
        saver = "heifsave_buffer";
        options->set("compression", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC)
            ->set("bitdepth", 8)
            ->set("Q", std::max(1, quality));
        break;
    case Format::webp:
        saver = "webpsave_buffer";
        options->set("Q", quality);
        break;
    }
    void* bytes = nullptr;
    EncodedPicture result;
    saveTo(&bytes, &result.size, saver, image, options);
    result.bytes = {static_cast<std::uint8_t*>(bytes), g_free};
    return result;
}

std::optional<std::string> lossInJpeg() {
    // libvips looks for warnings before it reads more rows, so that those of the last rows are only in its text, among
    // what it says of small matters.
    const std::string_view text = vips_error_buffer();
    const std::size_t warning = text.find("VipsJpeg: ");
    return warning == std::string_view::npos ? std::nullopt : std::optional(oneLineOf(text.substr(warning)));
}

PictureFacts factsOf(const VImage& image) {
    PictureFacts facts{.width = image.width(), .height = frameHeightOf(image)};
    if (vips_image_get_orientation_swap(image.get_image()))
        std::swap(facts.width, facts.height);
    facts.hasAlpha = vips_image_hasalpha(image.get_image()) != 0;
    const int colours = image.bands() - (facts.hasAlpha ? 1 : 0);
    facts.space = image.interpretation() == VIPS_INTERPRETATION_CMYK ? "CMYK" : colours < 3 ? "Gray" : "RGB";
    facts.bitsPerSample = static_cast<int>(8 * vips_format_sizeof(image.format()));
    return facts;
}

std::string oneLineOf(std::string_view message) {
    // The first line is the cause; the ones after it are what failed for it.
    std::string_view line = message.substr(0, message.find('\n'));
    if (const std::size_t colon = line.find(": "); colon != std::string_view::npos && line.find(' ') > colon)
        line.remove_prefix(colon + 2);
    return line.empty() ? "the picture is damaged or incomplete" : printable(line);
}

} // namespace torvo::sips
