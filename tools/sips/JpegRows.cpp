#include "Rows.h"

#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <utility>

namespace torvo::sips {
namespace {

/// Turns what libjpeg reports into a failure of the guarded call: errors, and warnings too, since damaged data is a
/// mere warning to libjpeg.
struct Alarm {
    jpeg_error_mgr manager{};
    std::jmp_buf escape{};

    jpeg_error_mgr* arm() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr info) { std::longjmp(reinterpret_cast<Alarm*>(info->err)->escape, 1); };
        manager.emit_message = [](j_common_ptr info, int level) {
            if (level < 0)
                std::longjmp(reinterpret_cast<Alarm*>(info->err)->escape, 1);
        };
        return &manager;
    }
};

/// Runs `call`, which calls libjpeg and owns nothing itself. False when libjpeg raised the alarm.
template <typename Call>
bool guarded(Alarm& alarm, Call call) {
    if (setjmp(alarm.escape) != 0)
        return false;
    call();
    return true;
}

class JpegReader final : public RowReader {
  public:
    explicit JpegReader(std::span<const std::uint8_t> source) {
        m_info.err = m_alarm.arm();
        std::uint8_t* profile = nullptr;
        unsigned profileSize = 0;
        m_isOpen = guarded(m_alarm,
                           [&] {
                               jpeg_create_decompress(&m_info);
                               jpeg_mem_src(&m_info, source.data(), source.size());
                               for (const int marker : {kNotes, kProfile, kEditor})
                                   jpeg_save_markers(&m_info, marker, 0xFFFF);
                               jpeg_read_header(&m_info, TRUE);
                           }) &&
                   isPlain();
        if (!m_isOpen)
            return;
        if (jpeg_read_icc_profile(&m_info, &profile, &profileSize)) {
            m_layout.profile.assign(profile, profile + profileSize);
            std::free(profile);
        }
        m_isOpen = guarded(m_alarm, [&] { jpeg_start_decompress(&m_info); });
        m_layout.width = m_info.output_width;
        m_layout.height = m_info.output_height;
        m_layout.channels = m_info.output_components;
        readResolution();
    }
    ~JpegReader() override { jpeg_destroy_decompress(&m_info); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] const RowLayout& layout() const override { return m_layout; }

    bool readRow(std::uint8_t* row) override {
        return guarded(m_alarm, [&] { jpeg_read_scanlines(&m_info, &row, 1); });
    }

    bool endsWell() override {
        return guarded(m_alarm, [&] { jpeg_finish_decompress(&m_info); });
    }

  private:
    /// Exif and XMP.
    static constexpr int kNotes = JPEG_APP0 + 1;
    static constexpr int kProfile = JPEG_APP0 + 2;
    static constexpr int kEditor = JPEG_APP0 + 13;

    [[nodiscard]] bool isPlain() const {
        for (const jpeg_marker_struct* marker = m_info.marker_list; marker != nullptr; marker = marker->next) {
            if (marker->marker == kNotes || marker->marker == kEditor)
                return false;
        }
        return m_info.data_precision == 8 &&
               (m_info.out_color_space == JCS_RGB || m_info.out_color_space == JCS_GRAYSCALE);
    }

    void readResolution() {
        // JFIF 1.02: the unit is 1 for dots an inch, 2 for dots a centimetre.
        const double perMetre = m_info.density_unit == 1 ? 1 / 0.0254 : m_info.density_unit == 2 ? 100 : 0;
        m_layout.acrossPerMetre = static_cast<std::uint32_t>(std::lround(m_info.X_density * perMetre));
        m_layout.downPerMetre = static_cast<std::uint32_t>(std::lround(m_info.Y_density * perMetre));
    }

    Alarm m_alarm;
    jpeg_decompress_struct m_info{};
    RowLayout m_layout;
    bool m_isOpen = false;
};

class JpegWriter final : public RowWriter {
  public:
    JpegWriter(const RowLayout& layout, int quality) {
        m_info.err = m_alarm.arm();
        m_isStarted = guarded(m_alarm, [&] { start(layout, quality); });
    }
    ~JpegWriter() override {
        // Until it is told that this is the end, libjpeg leaves m_bytes at memory that it gave back when it took more.
        if (!m_isFinished && m_info.dest != nullptr)
            m_info.dest->term_destination(&m_info);
        jpeg_destroy_compress(&m_info);
        std::free(m_bytes);
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    [[nodiscard]] bool isStarted() const { return m_isStarted; }

    bool writeRow(const std::uint8_t* row) override {
        auto* rows = const_cast<JSAMPROW>(row);
        return guarded(m_alarm, [&] { jpeg_write_scanlines(&m_info, &rows, 1); });
    }

    std::optional<EncodedPicture> finish() override {
        if (!guarded(m_alarm, [&] { jpeg_finish_compress(&m_info); }))
            return std::nullopt;
        m_isFinished = true;
        EncodedPicture picture;
        picture.bytes.reset(std::exchange(m_bytes, nullptr));
        picture.size = m_size;
        return picture;
    }

  private:
    void start(const RowLayout& layout, int quality) {
        jpeg_create_compress(&m_info);
        jpeg_mem_dest(&m_info, &m_bytes, &m_size);
        m_info.image_width = layout.width;
        m_info.image_height = layout.height;
        m_info.input_components = layout.channels;
        m_info.in_color_space = layout.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&m_info);
        jpeg_set_quality(&m_info, quality, TRUE);
        if (quality >= 90) {
            // High quality keeps the colours at full resolution; the default halves it both ways.
            m_info.comp_info[0].h_samp_factor = 1;
            m_info.comp_info[0].v_samp_factor = 1;
        }
        if (layout.acrossPerMetre != 0) {
            m_info.density_unit = 1;
            m_info.X_density = dotsPerInch(layout.acrossPerMetre);
            m_info.Y_density = dotsPerInch(layout.downPerMetre);
        }
        jpeg_start_compress(&m_info, TRUE);
        if (!layout.profile.empty())
            jpeg_write_icc_profile(&m_info, layout.profile.data(), static_cast<unsigned>(layout.profile.size()));
    }

    static UINT16 dotsPerInch(std::uint32_t perMetre) {
        return static_cast<UINT16>(std::min(65535L, std::lround(perMetre * 0.0254)));
    }

    Alarm m_alarm;
    jpeg_compress_struct m_info{};
    std::uint8_t* m_bytes = nullptr;
    unsigned long m_size = 0;
    bool m_isStarted = false;
    bool m_isFinished = false;
};

} // namespace

std::unique_ptr<RowReader> openJpegRows(std::span<const std::uint8_t> source) {
    auto reader = std::make_unique<JpegReader>(source);
    return reader->isOpen() ? std::move(reader) : nullptr;
}

std::unique_ptr<RowWriter> startJpegRows(const RowLayout& layout, int quality) {
    if (layout.width > JPEG_MAX_DIMENSION || layout.height > JPEG_MAX_DIMENSION || layout.hasAlpha())
        return nullptr;
    auto writer = std::make_unique<JpegWriter>(layout, quality);
    return writer->isStarted() ? std::move(writer) : nullptr;
}

} // namespace torvo::sips
