#pragma once

#include "Rows.h"

namespace torvo::sips {

/// Moves all rows from `reader` to `writer`; a large picture is read in a thread of its own while this one writes.
/// False when either of them failed.
[[nodiscard]] bool pumpRows(RowReader& reader, RowWriter& writer);

} // namespace torvo::sips
