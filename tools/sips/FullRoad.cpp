#include "FullRoad.h"

#include "Geometry.h"
#include "Printable.h"
#include "VipsPicture.h"

#include <optional>
#include <vector>
#include <vips/vips8>

namespace torvo::sips {
namespace {

using vips::VImage;

/// White for every channel of `image`, and clear where it has transparency.
std::vector<double> paper(const VImage& image) {
    const bool isSixteenBits = image.format() == VIPS_FORMAT_USHORT;
    std::vector<double> ink(static_cast<std::size_t>(image.bands()), isSixteenBits ? 65535.0 : 255.0);
    if (image.has_alpha())
        ink.back() = 0;
    else if (image.interpretation() == VIPS_INTERPRETATION_CMYK)
        std::ranges::fill(ink, 0.0);
    return ink;
}

/// Runs `change` on the colours weighted with their transparency, so that clear pixels do not bleed into their
/// neighbours.
template <typename Change>
VImage weighted(const VImage& image, Change change) {
    if (!image.has_alpha())
        return change(image);
    return change(image.premultiply()).unpremultiply().cast(image.format());
}

struct Changer {
    const VImage& image;
    const Operation& operation;

    VImage operator()(const CropCentre&) const {
        const Size to = target();
        return image.extract_area(static_cast<int>((image.width() - to.width) / 2),
                                  static_cast<int>((image.height() - to.height) / 2), static_cast<int>(to.width),
                                  static_cast<int>(to.height));
    }

    VImage operator()(const Rotate& rotate) const {
        switch (const int degrees = normalizedDegrees(rotate.degrees)) {
        case 0:
            return image;
        case 90:
            return image.rot(VIPS_ANGLE_D90);
        case 180:
            return image.rot(VIPS_ANGLE_D180);
        case 270:
            return image.rot(VIPS_ANGLE_D270);
        default:
            return weighted(image, [&](const VImage& from) {
                return from.rotate(degrees, VImage::option()->set("background", paper(image)));
            });
        }
    }

    VImage operator()(const Flip& flip) const {
        return image.flip(flip.axis == Flip::Axis::horizontal ? VIPS_DIRECTION_HORIZONTAL : VIPS_DIRECTION_VERTICAL);
    }

    template <typename Resize>
    VImage operator()(const Resize&) const {
        const Size to = target();
        if (to == Size{image.width(), image.height()})
            return image;
        return weighted(image, [&](const VImage& from) {
            return from.resize(static_cast<double>(to.width) / from.width(),
                               VImage::option()->set("vscale", static_cast<double>(to.height) / from.height()));
        });
    }

  private:
    [[nodiscard]] Size target() const { return sizeAfter(operation, {image.width(), image.height()}); }
};

Refusal tooLarge(Size size, std::int64_t frames) {
    std::string reason = std::to_string(size.width) + " x " + std::to_string(size.height);
    if (frames > 1)
        reason += " x " + std::to_string(frames) + " frames";
    return {Refusal::Kind::failed, reason + " is too large"};
}

/// Carries out `operations` on one frame.
std::expected<VImage, Refusal> changed(VImage frame, std::span<const Operation> operations, std::int64_t frames) {
    for (const Operation& operation : operations) {
        const Size size = sizeAfter(operation, {frame.width(), frame.height()});
        if (isTooLarge({size.width, size.height}) || isTooLarge({size.width, size.height * frames}))
            return std::unexpected(tooLarge(size, frames));
        frame = std::visit(Changer{frame, operation}, operation);
    }
    return frame;
}

std::expected<VImage, Refusal> changedFrames(const VImage& image, std::span<const Operation> operations) {
    const int frameHeight = frameHeightOf(image);
    const int count = image.height() / frameHeight;
    std::vector<VImage> frames;
    for (int i = 0; i < count; ++i) {
        std::expected<VImage, Refusal> frame =
            changed(image.extract_area(0, i * frameHeight, image.width(), frameHeight), operations, count);
        if (!frame)
            return frame;
        frames.push_back(std::move(*frame));
    }
    const int newHeight = frames.front().height();
    VImage joined = VImage::arrayjoin(frames, VImage::option()->set("across", 1)).copy();
    joined.set(VIPS_META_PAGE_HEIGHT, newHeight);
    return joined;
}

class VipsRoad final : public Road {
  public:
    std::expected<EncodedPicture, Refusal> convert(const Task& task) override {
        try {
            return converted(task);
        } catch (const std::exception& error) {
            return std::unexpected(refusalOf(error));
        }
    }

    std::expected<PictureFacts, Refusal> describe(std::span<const std::uint8_t> source, Format format) override {
        try {
            return factsOf(openPicture(source, format, Frames::first));
        } catch (const std::exception& error) {
            return std::unexpected(refusalOf(error));
        }
    }

  private:
    static Refusal refusalOf(const std::exception& error) { return {Refusal::Kind::failed, oneLineOf(error.what())}; }

    static std::expected<EncodedPicture, Refusal> converted(const Task& task) {
        const bool keepsFrames = holdsFrames(task.sourceFormat) && holdsFrames(task.targetFormat);
        VImage image = openPicture(task.source, task.sourceFormat, keepsFrames ? Frames::all : Frames::first);
        const int frameHeight = frameHeightOf(image);
        const int frames = image.height() / frameHeight;
        if (isTooLarge({image.width(), image.height()}))
            return std::unexpected(tooLarge({image.width(), frameHeight}, frames));

        // Pictures are read row by row from top to bottom; what needs them in another order needs them in memory.
        if (image.width() > 0 && (needsTurning(image) || !task.operations.empty()))
            image = inMemory(image);
        if (frames == 1)
            image = image.autorot();
        if (!task.operations.empty()) {
            std::expected<VImage, Refusal> result =
                frames == 1 ? changed(image, task.operations, 1) : changedFrames(image, task.operations);
            if (!result)
                return std::unexpected(result.error());
            image = *result;
        }
        EncodedPicture result = encode(suitedTo(image, task.targetFormat), task.targetFormat,
                                       task.quality.value_or(defaultQuality(task.targetFormat)));
        if (task.sourceFormat == Format::jpeg) {
            if (const std::optional<std::string> loss = lossInJpeg())
                return std::unexpected(Refusal{Refusal::Kind::failed, *loss});
        }
        return result;
    }
};

} // namespace

} // namespace torvo::sips

torvo::sips::Road* torvoSipsFullRoad() {
    static torvo::sips::VipsRoad road;
    static const bool isReady = torvo::sips::startVips();
    return isReady ? &road : nullptr;
}
