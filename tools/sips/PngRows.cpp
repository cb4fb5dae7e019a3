#include "Rows.h"

#include <spng.h>

#include <cstring>
#include <string_view>

namespace torvo::sips {
namespace {

using Context = std::unique_ptr<spng_ctx, void (*)(spng_ctx*)>;

class PngReader final : public RowReader {
  public:
    explicit PngReader(std::span<const std::uint8_t> source) : m_context(spng_ctx_new(0), spng_ctx_free) {
        m_isOpen = m_context && open(source);
    }

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] const RowLayout& layout() const override { return m_layout; }

    bool readRow(std::uint8_t* row) override {
        const int status = spng_decode_row(m_context.get(), row, m_layout.rowBytes());
        return status == 0 || status == SPNG_EOI;
    }

    bool endsWell() override { return spng_decode_chunks(m_context.get()) == 0 && !hasNotes(); }

  private:
    bool open(std::span<const std::uint8_t> source) {
        constexpr std::size_t kMostChunkBytes = std::size_t{64} << 20;
        spng_ctx* const context = m_context.get();
        spng_ihdr header{};
        if (spng_set_crc_action(context, SPNG_CRC_ERROR, SPNG_CRC_ERROR) != 0 ||
            spng_set_chunk_limits(context, kMostChunkBytes, kMostChunkBytes) != 0 ||
            spng_set_png_buffer(context, source.data(), source.size()) != 0 || spng_get_ihdr(context, &header) != 0)
            return false;
        if (header.bit_depth > 8 || header.interlace_method != SPNG_INTERLACE_NONE || hasNotes())
            return false;
        m_layout.width = header.width;
        m_layout.height = header.height;

        spng_trns transparency{};
        const bool hasTransparency = spng_get_trns(context, &transparency) == 0;
        int format = 0;
        switch (header.color_type) {
        case SPNG_COLOR_TYPE_GRAYSCALE:
            m_layout.channels = hasTransparency ? 2 : 1;
            format = hasTransparency ? SPNG_FMT_GA8 : SPNG_FMT_G8;
            break;
        case SPNG_COLOR_TYPE_GRAYSCALE_ALPHA:
            m_layout.channels = 2;
            format = SPNG_FMT_PNG;
            break;
        case SPNG_COLOR_TYPE_TRUECOLOR_ALPHA:
            m_layout.channels = 4;
            format = SPNG_FMT_RGBA8;
            break;
        default:
            m_layout.channels = hasTransparency ? 4 : 3;
            format = hasTransparency ? SPNG_FMT_RGBA8 : SPNG_FMT_RGB8;
            break;
        }
        readResolution();
        return readProfile() &&
               spng_decode_image(context, nullptr, 0, format, SPNG_DECODE_PROGRESSIVE | SPNG_DECODE_TRNS) == 0;
    }

    /// Whether the file has notes of a camera or an editor (Exif, XMP) read so far.
    bool hasNotes() {
        spng_exif exif{};
        if (spng_get_exif(m_context.get(), &exif) == 0)
            return true;
        std::uint32_t count = 0;
        if (spng_get_text(m_context.get(), nullptr, &count) != 0)
            return false;
        std::vector<spng_text> texts(count);
        if (spng_get_text(m_context.get(), texts.data(), &count) != 0)
            return true;
        for (const spng_text& text : texts) {
            if (std::string_view(text.keyword) == "XML:com.adobe.xmp")
                return true;
        }
        return false;
    }

    void readResolution() {
        constexpr std::uint8_t kMetre = 1;
        spng_phys physical{};
        if (spng_get_phys(m_context.get(), &physical) != 0 || physical.unit_specifier != kMetre)
            return;
        m_layout.acrossPerMetre = physical.ppu_x;
        m_layout.downPerMetre = physical.ppu_y;
    }

    /// False for a profile that does not belong to these colours.
    bool readProfile() {
        // The header of ICC.1:2022, section 7.2: 128 bytes, the total size first, the colour space at 16.
        constexpr std::size_t kHeaderBytes = 128;
        spng_iccp profile{};
        const int status = spng_get_iccp(m_context.get(), &profile);
        if (status != 0)
            return status == SPNG_ECHUNKAVAIL;
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(profile.profile);
        if (profile.profile_len < kHeaderBytes)
            return false;
        const std::size_t size = std::size_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
        const std::string_view space(profile.profile + 16, 4);
        if (size != profile.profile_len || space != (m_layout.channels < 3 ? "GRAY" : "RGB "))
            return false;
        m_layout.profile.assign(bytes, bytes + profile.profile_len);
        return true;
    }

    Context m_context;
    RowLayout m_layout;
    bool m_isOpen = false;
};

class PngWriter final : public RowWriter {
  public:
    explicit PngWriter(const RowLayout& layout)
        : m_layout(layout), m_context(spng_ctx_new(SPNG_CTX_ENCODER), spng_ctx_free) {
        m_isStarted = m_context && start();
    }

    [[nodiscard]] bool isStarted() const { return m_isStarted; }

    bool writeRow(const std::uint8_t* row) override {
        const int status = spng_encode_row(m_context.get(), row, m_layout.rowBytes());
        return status == 0 || status == SPNG_EOI;
    }

    std::optional<EncodedPicture> finish() override {
        int status = 0;
        EncodedPicture picture;
        picture.bytes.reset(static_cast<std::uint8_t*>(spng_get_png_buffer(m_context.get(), &picture.size, &status)));
        return status == 0 && picture.bytes ? std::optional(std::move(picture)) : std::nullopt;
    }

  private:
    bool start() {
        spng_ctx* const context = m_context.get();
        spng_ihdr header{.width = m_layout.width, .height = m_layout.height, .bit_depth = 8};
        header.color_type = m_layout.channels == 1   ? SPNG_COLOR_TYPE_GRAYSCALE
                            : m_layout.channels == 2 ? SPNG_COLOR_TYPE_GRAYSCALE_ALPHA
                            : m_layout.channels == 3 ? SPNG_COLOR_TYPE_TRUECOLOR
                                                     : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
        if (spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1) != 0 ||
            spng_set_option(context, SPNG_FILTER_CHOICE, SPNG_FILTER_CHOICE_UP) != 0 ||
            spng_set_option(context, SPNG_IMG_COMPRESSION_LEVEL, kPngCompression) != 0 ||
            spng_set_ihdr(context, &header) != 0)
            return false;
        if (m_layout.acrossPerMetre != 0) {
            spng_phys physical{.ppu_x = m_layout.acrossPerMetre, .ppu_y = m_layout.downPerMetre, .unit_specifier = 1};
            if (spng_set_phys(context, &physical) != 0)
                return false;
        }
        if (!m_layout.profile.empty()) {
            // The library wants the profile's bytes as writable text and leaves them alone.
            m_profile.assign(m_layout.profile.begin(), m_layout.profile.end());
            spng_iccp profile{.profile_len = m_profile.size(), .profile = m_profile.data()};
            std::strcpy(profile.profile_name, "icc");
            if (spng_set_iccp(context, &profile) != 0)
                return false;
        }
        return spng_encode_image(context, nullptr, 0, SPNG_FMT_PNG, SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE) ==
               0;
    }

    const RowLayout& m_layout;
    std::vector<char> m_profile;
    Context m_context;
    bool m_isStarted = false;
};

} // namespace

std::unique_ptr<RowReader> openPngRows(std::span<const std::uint8_t> source) {
    auto reader = std::make_unique<PngReader>(source);
    return reader->isOpen() ? std::move(reader) : nullptr;
}

std::unique_ptr<RowWriter> startPngRows(const RowLayout& layout) {
    auto writer = std::make_unique<PngWriter>(layout);
    return writer->isStarted() ? std::move(writer) : nullptr;
}

} // namespace torvo::sips
