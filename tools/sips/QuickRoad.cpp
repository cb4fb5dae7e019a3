#include "QuickRoad.h"

#include "Geometry.h"
#include "RowPipe.h"
#include "Rows.h"

#include <utility>

namespace torvo::sips {
namespace {

std::unexpected<Refusal> stepAside() {
    return std::unexpected(Refusal{Refusal::Kind::stepsAside, ""});
}

std::unique_ptr<RowReader> openRows(std::span<const std::uint8_t> source, Format format) {
    std::unique_ptr<RowReader> reader;
    if (format == Format::png)
        reader = openPngRows(source);
    else if (format == Format::jpeg)
        reader = openJpegRows(source);
    if (reader && isTooLarge({reader->layout().width, reader->layout().height}))
        return nullptr;
    return reader;
}

/// Reads rows with transparency as rows on white paper.
class OnWhite final : public RowReader {
  public:
    explicit OnWhite(std::unique_ptr<RowReader> reader)
        : m_reader(std::move(reader)), m_layout(m_reader->layout()), m_row(m_layout.rowBytes()) {
        m_layout.channels -= 1;
    }

    [[nodiscard]] const RowLayout& layout() const override { return m_layout; }

    bool readRow(std::uint8_t* row) override {
        if (!m_reader->readRow(m_row.data()))
            return false;
        const std::uint8_t* from = m_row.data();
        for (std::uint32_t x = 0; x < m_layout.width; ++x) {
            const unsigned alpha = from[m_layout.channels];
            for (int channel = 0; channel < m_layout.channels; ++channel)
                *row++ = static_cast<std::uint8_t>((from[channel] * alpha + (255 - alpha) * 255) / 255);
            from += m_layout.channels + 1;
        }
        return true;
    }

    bool endsWell() override { return m_reader->endsWell(); }

  private:
    std::unique_ptr<RowReader> m_reader;
    RowLayout m_layout;
    std::vector<std::uint8_t> m_row;
};

} // namespace

std::expected<EncodedPicture, Refusal> QuickRoad::convert(const Task& task) {
    const bool isForRows = (task.sourceFormat == Format::png && task.targetFormat == Format::jpeg) ||
                           (task.sourceFormat == Format::jpeg && task.targetFormat == Format::png);
    if (!isForRows || !task.operations.empty())
        return stepAside();
    std::unique_ptr<RowReader> reader = openRows(task.source, task.sourceFormat);
    if (!reader)
        return stepAside();
    if (reader->layout().hasAlpha())
        reader = std::make_unique<OnWhite>(std::move(reader));

    const RowLayout layout = reader->layout();
    const std::unique_ptr<RowWriter> writer =
        task.targetFormat == Format::png ? startPngRows(layout)
                                         : startJpegRows(layout, task.quality.value_or(defaultQuality(Format::jpeg)));
    if (!writer || !pumpRows(*reader, *writer) || !reader->endsWell())
        return stepAside();
    std::optional<EncodedPicture> picture = writer->finish();
    if (!picture)
        return stepAside();
    return std::move(*picture);
}

std::expected<PictureFacts, Refusal> QuickRoad::describe(std::span<const std::uint8_t> source, Format format) {
    const std::unique_ptr<RowReader> reader = openRows(source, format);
    if (!reader)
        return stepAside();
    const RowLayout& layout = reader->layout();
    return PictureFacts{.width = layout.width,
                        .height = layout.height,
                        .space = layout.channels < 3 ? "Gray" : "RGB",
                        .bitsPerSample = 8,
                        .hasAlpha = layout.hasAlpha()};
}

} // namespace torvo::sips
