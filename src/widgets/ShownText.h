#pragma once

#include <QString>
#include <QWidget>
#include <string_view>

namespace torvo {

/// A name or a label as one line that is safe to show: bytes that are not UTF-8, control characters, line breaks and
/// characters that turn the direction of writing are shown as U+FFFD.
[[nodiscard]] QString shownLine(std::string_view bytes);

/// The same for a text of several lines: its line feeds stay, and a tab is four spaces.
[[nodiscard]] QString shownLines(std::string_view bytes);

/// A text of a user, a file or a program, fit for one paragraph of a window: one line as above, and cut where it is
/// beyond any reader's patience.
[[nodiscard]] QString shownParagraph(std::string_view bytes);

/// A tool tip that shows the text as it is, never as markup, wrapped where it is long. `direction`: of a text that is
/// put together from parts; one of its own has the direction of its letters.
[[nodiscard]] QString plainToolTip(const QString& text, Qt::LayoutDirection direction = Qt::LayoutDirectionAuto);

/// Gives a control that tool tip, and the plain text to assistive technology, which would read the tip's markup; none
/// of both for an empty text.
void explain(QWidget& control, const QString& text);

} // namespace torvo
