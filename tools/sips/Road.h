#pragma once

#include "Job.h"

#include <cstdint>
#include <cstdlib>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace torvo::sips {

/// A picture file in memory, as it is to be written.
struct EncodedPicture {
    std::unique_ptr<std::uint8_t, void (*)(void*)> bytes{nullptr, std::free};
    std::size_t size = 0;
};

/// Why a road did not do what it was asked.
struct Refusal {
    enum class Kind {
        /// This picture is not for this road; another one may well do it.
        stepsAside,
        /// The picture or the result cannot be had at all.
        failed,
    };
    Kind kind = Kind::failed;
    /// One line for the user; empty for a road that steps aside.
    std::string reason;
};

struct Task {
    /// The whole file.
    std::span<const std::uint8_t> source;
    Format sourceFormat = Format::png;
    Format targetFormat = Format::png;
    std::span<const Operation> operations;
    std::optional<int> quality;
};

/// What `-g` prints. Width and height are those of the upright picture.
struct PictureFacts {
    std::int64_t width = 0;
    std::int64_t height = 0;
    /// "RGB", "Gray" or "CMYK".
    std::string space;
    int bitsPerSample = 8;
    bool hasAlpha = false;
    bool operator==(const PictureFacts&) const = default;
};

/// One way of turning a picture file into another. All roads make the same pixels of the same file.
class Road {
  public:
    virtual ~Road() = default;
    [[nodiscard]] virtual std::expected<EncodedPicture, Refusal> convert(const Task& task) = 0;
    [[nodiscard]] virtual std::expected<PictureFacts, Refusal> describe(std::span<const std::uint8_t> source,
                                                                        Format format) = 0;
};

/// The quality that a format is written with when none is asked for.
[[nodiscard]] constexpr int defaultQuality(Format format) {
    return format == Format::heic ? 60 : 80;
}

/// How hard a png is compressed, with the filter that stores differences to the row above. Measured on photographs of
/// 12 megapixels: half the size of unfiltered data at the usual level 6, in less time; higher levels take three times
/// as long for 8 % less.
constexpr int kPngCompression = 3;

} // namespace torvo::sips
