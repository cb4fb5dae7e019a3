#include "widgets/FormField.h"

#include "widgets/Theme.h"

#include <QEvent>

namespace torvo {

void FormField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyTone();
}

void FormField::applyTone() {
    const auto tone = toneColor(Tone::tertiary, palette());
    // Setting it changes the palette once more.
    if (palette().color(QPalette::PlaceholderText) == tone)
        return;
    QPalette toned;
    toned.setColor(QPalette::PlaceholderText, tone);
    setPalette(toned);
}

} // namespace torvo
