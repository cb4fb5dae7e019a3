#include "linux/qt/X11Pasteboard.h"

#include "support/FileURLText.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <algorithm>

namespace torvo {

namespace {

using std::chrono::steady_clock;

/// How long a program may take to say what it has on the clipboard, to hand over a list of files when somebody only
/// looks, and to hand over what is wanted: pictures are made on demand.
constexpr std::chrono::milliseconds kOfferTime{300};
constexpr std::chrono::seconds kLookTime{1};
constexpr std::chrono::seconds kHandOverTime{5};

constexpr std::string_view kFiles = "text/uri-list";
constexpr std::string_view kPng = "image/png";
constexpr std::string_view kTiff = "image/tiff";

std::optional<std::string> pngOf(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (image.isNull() || !image.save(&buffer, "PNG"))
        return std::nullopt;
    return bytes.toStdString();
}

/// The first target that is a picture which can be read; empty when there is none. What can be read is asked only about
/// pictures: the answer loads every format's library, for good.
std::string readablePicture(const std::vector<std::string>& targets) {
    if (std::ranges::find(targets, kPng) != targets.end())
        return std::string(kPng);
    const auto isReadable = [](const std::string& target) {
        if (!target.starts_with("image/"))
            return false;
        static const auto readable = QImageReader::supportedMimeTypes();
        return readable.contains(QByteArray::fromStdString(target));
    };
    const auto found = std::ranges::find_if(targets, isReadable);
    return found == targets.end() ? "" : *found;
}

} // namespace

std::vector<std::string> X11Pasteboard::targets() {
    if (m_clipboard != nullptr && m_clipboard->isLost())
        m_clipboard.reset();
    if (m_clipboard == nullptr)
        m_clipboard = X11Clipboard::create();
    if (m_clipboard == nullptr)
        return {};
    return m_clipboard->targets(steady_clock::now() + kOfferTime).value_or(std::vector<std::string>());
}

std::optional<std::string> X11Pasteboard::bytesOf(std::string_view target, std::chrono::milliseconds patience) {
    const auto offered = targets();
    if (std::ranges::find(offered, target) == offered.end())
        return std::nullopt;
    auto form = m_clipboard->read(std::string(target), steady_clock::now() + patience);
    return form && !form->bytes.empty() ? std::optional(std::move(form->bytes)) : std::nullopt;
}

bool X11Pasteboard::hasFiles() {
    // A list of addresses may be one of web pages.
    return !filesInUriList(bytesOf(kFiles, kLookTime).value_or("")).empty();
}

std::vector<FileURL> X11Pasteboard::fileURLs() {
    return filesInUriList(bytesOf(kFiles, kHandOverTime).value_or(""));
}

bool X11Pasteboard::hasImage() {
    return !readablePicture(targets()).empty();
}

std::optional<std::string> X11Pasteboard::png() {
    if (auto bytes = bytesOf(kPng, kHandOverTime))
        return bytes;
    // Programs here offer many kinds of pictures; a TIFF file is one of them, which the caller asks for itself.
    const auto offered = targets();
    if (std::ranges::find(offered, kTiff) != offered.end())
        return std::nullopt;
    const auto picture = readablePicture(offered);
    const auto bytes = picture.empty() ? std::nullopt : bytesOf(picture, kHandOverTime);
    return bytes ? pngOf(QImage::fromData(QByteArray::fromStdString(*bytes))) : std::nullopt;
}

std::optional<std::string> X11Pasteboard::tiff() {
    return bytesOf(kTiff, kHandOverTime);
}

std::optional<std::string> X11Pasteboard::pngFromTIFF(const std::string& tiff) {
    return pngOf(QImage::fromData(QByteArray::fromStdString(tiff), "TIFF"));
}

} // namespace torvo
