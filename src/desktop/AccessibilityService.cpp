#include "desktop/AccessibilityService.h"

#include <string>

namespace torvo::AccessibilityService {

void open(std::string_view anchor, Workspace& workspace) {
    workspace.open("x-apple.systempreferences:com.apple.preference.security?" + std::string(anchor));
}

void openFinderExtensionsPane(Workspace& workspace) {
    workspace.open("x-apple.systempreferences:com.apple.ExtensionsPreferences"
                   "?extensionPointIdentifier=com.apple.FinderSync");
}

} // namespace torvo::AccessibilityService
