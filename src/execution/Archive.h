#pragma once

#include "execution/ProcessRunner.h"
#include "execution/RunOutcome.h"
#include "model/FinderContext.h"
#include "model/Selecting.h"

#include <string>

namespace torvo {

/// Puts the selected items, which must lie in one folder, into a new archive there under their own names, folders with
/// all they hold. On failure or cancel no archive is left. The archive is handed to `selector`.
/// `archiver`: the path of Info-ZIP's zip.
RunOutcome zipSelection(const FinderContext& context, const std::string& archiver, ProcessRunner& processes,
                        Selecting& selector, const ProgressCallback& progress);

} // namespace torvo
