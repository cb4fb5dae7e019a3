#pragma once

#include "platform/Workspace.h"

#include <string_view>

namespace torvo {

/// The panes of the system's settings where the user grants what Torvo needs.
namespace AccessibilityService {

/// Reading other applications' windows.
constexpr std::string_view kAccessibilityAnchor = "Privacy_Accessibility";
/// Driving the file manager by scripts.
constexpr std::string_view kAutomationAnchor = "Privacy_Automation";
/// Commands on protected folders.
constexpr std::string_view kFullDiskAnchor = "Privacy_AllFiles";

/// Opens the privacy pane of that anchor.
void open(std::string_view anchor, Workspace& workspace);
void openFinderExtensionsPane(Workspace& workspace);

} // namespace AccessibilityService

} // namespace torvo
