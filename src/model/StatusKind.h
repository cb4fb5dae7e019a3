#pragma once

namespace torvo {

/// What the bar's status line says: it decides on the line's colour and symbol.
enum class StatusKind { hint, info, confirm, success, failure };

} // namespace torvo
