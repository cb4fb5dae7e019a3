#include "commandbar/view/CommandTextField.h"

#include "commandbar/CommandBarState.h"
#include "widgets/Theme.h"

#include <QKeyEvent>
#include <QTimer>
#include <utility>

namespace torvo {

namespace {

constexpr int kHeight = 24;
constexpr int kFontSize = 16;

} // namespace

CommandTextField::CommandTextField(Actions actions, QWidget* parent)
    : QLineEdit(parent), m_actions(std::move(actions)) {
    setFrame(false);
    setFont(systemFont(kFontSize));
    setFixedHeight(kHeight);
    // The line edit keeps two pixels free on its own.
    setTextMargins(-2, 0, -2, 0);
    setPlaceholderText(QString::fromUtf8(kCommandPlaceholder));
    setAccessibleName(QStringLiteral("Command"));
    setAttribute(Qt::WA_MacShowFocusRect, false);
    // Files that are dropped on the field are dropped on the bar.
    setAcceptDrops(false);
    applyColors();
    // However it changes: assistive technology sets a text without editing it.
    QObject::connect(this, &QLineEdit::textChanged, this,
                     [this](const QString& text) { m_actions.onChange(text.toStdString()); });
}

void CommandTextField::showText(const std::string& text) {
    const QSignalBlocker quiet(*this);
    const auto shown = QString::fromStdString(text);
    if (shown != this->text())
        setText(shown);
}

void CommandTextField::setFocusTrigger(int trigger) {
    if (std::exchange(m_lastFocusTrigger, trigger) == trigger)
        return;
    QTimer::singleShot(0, this, [this] {
        setFocus(Qt::OtherFocusReason);
        deselect();
        end(false);
    });
}

void CommandTextField::keyPressEvent(QKeyEvent* event) {
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isPlain = modifiers == Qt::NoModifier;
    // A key that is held down submits or cancels once: its repetitions must not answer the next question.
    const bool isFirst = !event->isAutoRepeat();
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isPlain || modifiers == Qt::ShiftModifier) {
            if (isFirst)
                m_actions.onSubmit(text().toStdString());
            return;
        }
        break;
    case Qt::Key_Escape:
        if (isPlain) {
            if (isFirst)
                m_actions.onCancel();
            return;
        }
        break;
    case Qt::Key_Up:
        if (isPlain) {
            m_actions.onMoveUp();
            return;
        }
        break;
    case Qt::Key_Down:
        if (isPlain) {
            m_actions.onMoveDown();
            return;
        }
        break;
    default:
        break;
    }
    QLineEdit::keyPressEvent(event);
}

void CommandTextField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyColors();
}

void CommandTextField::applyColors() {
    auto colors = palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, toneColor(Tone::primary, colors));
    colors.setColor(QPalette::PlaceholderText, toneColor(Tone::tertiary, colors));
    // Setting them changes the palette once more, to what it then is.
    if (colors != palette())
        setPalette(colors);
}

} // namespace torvo
