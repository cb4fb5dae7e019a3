#pragma once

#include "Road.h"

namespace torvo::sips {

/// The road for what is asked for most: png to jpeg and back without a change of size, as rows from one small library
/// to another. It does a picture only if everything about it is plain and in order, and steps aside otherwise, so that
/// there is one place that judges odd and damaged files.
class QuickRoad final : public Road {
  public:
    [[nodiscard]] std::expected<EncodedPicture, Refusal> convert(const Task& task) override;
    [[nodiscard]] std::expected<PictureFacts, Refusal> describe(std::span<const std::uint8_t> source,
                                                                Format format) override;
};

} // namespace torvo::sips
