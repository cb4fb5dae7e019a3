#include "widgets/DisplayText.h"

#include "support/Text.h"

namespace torvo {

namespace {

constexpr std::size_t kLongestText = 500;

} // namespace

QString displayText(std::string_view text) {
    const auto shown = firstCharacters(text, kLongestText);
    auto line = QString::fromStdString(printableLine(shown));
    if (shown.size() < text.size())
        line += QStringLiteral("…");
    return line;
}

QString literalToolTip(const QString& text) {
    return "<span>" + text.toHtmlEscaped() + "</span>";
}

} // namespace torvo
