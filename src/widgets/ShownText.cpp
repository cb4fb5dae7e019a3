#include "widgets/ShownText.h"

#include "support/Text.h"

#include <string>
#include <vector>

namespace torvo {

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

QString plainToolTip(const QString& text) {
    return QStringLiteral("<p style='white-space: pre-wrap'>%1</p>").arg(text.toHtmlEscaped());
}

} // namespace torvo
