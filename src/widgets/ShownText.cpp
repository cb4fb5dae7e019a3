#include "widgets/ShownText.h"

#include "support/Text.h"

#include <string>
#include <vector>

namespace torvo {

namespace {

/// In characters.
constexpr std::size_t kLongestParagraph = 500;

} // namespace

QString shownLine(std::string_view bytes) {
    return QString::fromStdString(printableLine(bytes));
}

QString shownLines(std::string_view bytes) {
    std::vector<std::string> lines;
    for (const auto line : split(bytes, '\n')) {
        std::string spaced;
        for (const char byte : line)
            byte == '\t' ? spaced.append(4, ' ') : spaced.append(1, byte);
        lines.push_back(printableLine(spaced));
    }
    return QString::fromStdString(joined(lines, "\n"));
}

QString shownParagraph(std::string_view bytes) {
    const auto beginning = firstCharacters(bytes, kLongestParagraph);
    return shownLine(beginning) + (beginning.size() < bytes.size() ? QStringLiteral("…") : QString());
}

QString plainToolTip(const QString& text, Qt::LayoutDirection direction) {
    const auto* attribute = direction == Qt::LeftToRight ? " dir='ltr'" : "";
    return QStringLiteral("<p%1 style='white-space: pre-wrap'>%2</p>").arg(attribute, text.toHtmlEscaped());
}

void explain(QWidget& control, const QString& text) {
    control.setToolTip(text.isEmpty() ? QString() : plainToolTip(text));
    control.setAccessibleDescription(text);
}

} // namespace torvo
