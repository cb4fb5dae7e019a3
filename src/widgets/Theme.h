#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>

namespace torvo {

/// What a colour says. Every tone that text is set in has a contrast of at least 4.5:1 on the window's background, in
/// light and in dark palettes.
enum class Tone { primary, secondary, tertiary, accent, success, warning, failure };

/// Whether the palette is a dark one.
[[nodiscard]] bool isDark(const QPalette& palette);

[[nodiscard]] QColor toneColor(Tone tone, const QPalette& palette);

/// The colour at a share (0 to 1) of its opacity.
[[nodiscard]] QColor faded(QColor color, double opacity);

/// The text styles of the windows.
enum class TextStyle { title2, title3, headline, subheadline, body, caption, caption2 };

[[nodiscard]] QFont styleFont(TextStyle style);

/// The system's font at a size in device-independent pixels.
[[nodiscard]] QFont systemFont(int size);
/// The system's fixed-width font at a size in device-independent pixels.
[[nodiscard]] QFont monospacedFont(int size);

} // namespace torvo
