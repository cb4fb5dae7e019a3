#pragma once

#include "Road.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// Pictures as rows of 8-bit samples, for the formats that can be read and written a row at a time.
namespace torvo::sips {

struct RowLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// 1: grey, 2: grey and transparency, 3: RGB, 4: RGB and transparency.
    int channels = 3;
    /// The ICC profile; empty when the picture has none.
    std::vector<std::uint8_t> profile;
    /// Pixels a metre, across and down; 0 when the picture does not say.
    std::uint32_t acrossPerMetre = 0;
    std::uint32_t downPerMetre = 0;

    [[nodiscard]] std::size_t rowBytes() const { return std::size_t{width} * static_cast<std::size_t>(channels); }
    [[nodiscard]] bool hasAlpha() const { return channels % 2 == 0; }
};

class RowReader {
  public:
    virtual ~RowReader() = default;
    [[nodiscard]] virtual const RowLayout& layout() const = 0;
    /// Fills `row` with the next row. False when the file is in any way not as it should be.
    [[nodiscard]] virtual bool readRow(std::uint8_t* row) = 0;
    /// To be called after the last row: whether the rest of the file is in order too.
    [[nodiscard]] virtual bool endsWell() = 0;
};

class RowWriter {
  public:
    virtual ~RowWriter() = default;
    [[nodiscard]] virtual bool writeRow(const std::uint8_t* row) = 0;
    /// To be called after the last row.
    [[nodiscard]] virtual std::optional<EncodedPicture> finish() = 0;
};

/// Null for a picture that is damaged, or that has something which rows of 8-bit samples and a profile cannot carry
/// over: 16 bits, interlacing, inks, a camera's notes.
[[nodiscard]] std::unique_ptr<RowReader> openPngRows(std::span<const std::uint8_t> source);
[[nodiscard]] std::unique_ptr<RowReader> openJpegRows(std::span<const std::uint8_t> source);

/// Null when the format cannot hold such a picture. `layout` must outlive the writer.
[[nodiscard]] std::unique_ptr<RowWriter> startPngRows(const RowLayout& layout);
/// Takes rows without transparency.
[[nodiscard]] std::unique_ptr<RowWriter> startJpegRows(const RowLayout& layout, int quality);

} // namespace torvo::sips
