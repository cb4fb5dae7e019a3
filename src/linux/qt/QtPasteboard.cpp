#include "linux/qt/QtPasteboard.h"

#include "linux/filemanager/ClipboardCopy.h"

#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

namespace torvo {

namespace {

const QMimeData* content() {
    return QGuiApplication::clipboard()->mimeData();
}

std::optional<std::string> bytesOf(const char* type) {
    const auto* data = content();
    if (data == nullptr || !data->hasFormat(type))
        return std::nullopt;
    auto bytes = data->data(type).toStdString();
    return bytes.empty() ? std::nullopt : std::optional(std::move(bytes));
}

std::optional<std::string> pngOf(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (image.isNull() || !image.save(&buffer, "PNG"))
        return std::nullopt;
    return bytes.toStdString();
}

} // namespace

std::vector<FileURL> filesInUriList(const std::string& list) {
    std::vector<FileURL> files;
    for (auto& path : pathsInUriList(list))
        files.emplace_back(std::move(path));
    return files;
}

std::vector<FileURL> QtPasteboard::fileURLs() {
    return filesInUriList(bytesOf("text/uri-list").value_or(""));
}

bool QtPasteboard::hasImage() {
    const auto* data = content();
    return data != nullptr && data->hasImage();
}

std::optional<std::string> QtPasteboard::png() {
    if (auto bytes = bytesOf("image/png"))
        return bytes;
    // Programs here offer many kinds of pictures; a TIFF file is one of them, which the caller asks for itself.
    const auto* data = content();
    if (data == nullptr || data->hasFormat("image/tiff") || !data->hasImage())
        return std::nullopt;
    return pngOf(qvariant_cast<QImage>(data->imageData()));
}

std::optional<std::string> QtPasteboard::tiff() {
    return bytesOf("image/tiff");
}

std::optional<std::string> QtPasteboard::pngFromTIFF(const std::string& tiff) {
    return pngOf(QImage::fromData(QByteArray::fromStdString(tiff), "TIFF"));
}

} // namespace torvo
