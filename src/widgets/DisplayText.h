#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace torvo {

/// A text of the user, of a file or of a program, fit for one paragraph of a window: control characters and what is no
/// UTF-8 are made visible, and a text beyond any reader's patience is cut.
[[nodiscard]] QString displayText(std::string_view text);

/// The text of a field, as it is stored.
[[nodiscard]] inline std::string storedText(const QString& text) {
    return text.toStdString();
}

/// A tooltip that shows exactly this text, whatever marks it holds.
[[nodiscard]] QString literalToolTip(const QString& text);

} // namespace torvo
