#include "tests/support/qt/SettingsDesk.h"

#include <filesystem>

namespace torvo::testing {

void SettingsDesk::installTool(std::string_view name) const {
    const auto file = tools.file(name, "#!/bin/sh\nexit 0\n");
    std::filesystem::permissions(file.path(), std::filesystem::perms::owner_all);
}

} // namespace torvo::testing
