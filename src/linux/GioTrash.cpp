#include "linux/GioTrash.h"

#include <gio/gio.h>

#include <memory>

namespace torvo {

std::expected<void, std::string> GioTrash::moveToTrash(const FileURL& item) {
    const auto release = [](gpointer object) { g_object_unref(object); };
    const std::unique_ptr<GFile, decltype(release)> file(g_file_new_for_path(item.path().c_str()), release);
    GError* error = nullptr;
    if (g_file_trash(file.get(), nullptr, &error) != FALSE)
        return {};
    const std::unique_ptr<GError, decltype(&g_error_free)> owned(error, &g_error_free);
    return std::unexpected(std::string(owned->message));
}

} // namespace torvo
