#include "linux/UserFolders.h"

#include <glib.h>

namespace torvo {

FileURL desktopFolder() {
    // For the desktop alone there is always an answer (GLib, g_get_user_special_dir).
    return FileURL(g_get_user_special_dir(G_USER_DIRECTORY_DESKTOP));
}

} // namespace torvo
