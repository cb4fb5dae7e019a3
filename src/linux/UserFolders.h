#pragma once

#include "support/FileURL.h"

namespace torvo {

/// The user's Desktop folder, whatever it is called: "DESKTOP" of xdg-user-dirs, else "Desktop" in the home folder.
[[nodiscard]] FileURL desktopFolder();

} // namespace torvo
