#pragma once

#include "linux/accessibility/AccessibilityBus.h"
#include "linux/clipboard/ClipboardKeeper.h"

#include <functional>
#include <string>
#include <vector>

namespace torvo {

/// The files that a program puts on the clipboard when `copy` has it copy its selection; empty when it copies nothing,
/// and when what is on the clipboard cannot be saved: nothing is copied then. What was on the clipboard before is on it
/// again afterwards, also when the program copies later than it is waited for.
[[nodiscard]] std::vector<std::string> copiedFiles(ClipboardKeeper& keeper, const std::function<void()>& copy,
                                                   Deadline deadline);

} // namespace torvo
