#include "commandbar/view/StatusText.h"

#include "commandbar/view/BarPresentation.h"
#include "widgets/ShownText.h"

#include <QAbstractTextDocumentLayout>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <algorithm>
#include <cmath>

namespace torvo {

namespace {

constexpr int kFontSize = 11;
/// So that the buttons below stay on the screen, however long a command is.
constexpr int kGreatestHeight = 168;
/// Layouts ask for a few widths over and over; each answer lays out the text anew, pictures in it decoded again.
constexpr std::size_t kKnownWidths = 16;

/// To assistive technology it is a status line whose name is what it says, not a document to edit.
class AccessibleStatus final : public QAccessibleWidget {
  public:
    explicit AccessibleStatus(StatusText* status) : QAccessibleWidget(status, QAccessible::StatusBar) {}

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name)
            return static_cast<StatusText*>(object())->toPlainText();
        return QAccessibleWidget::text(kind);
    }
    [[nodiscard]] int childCount() const override { return 0; }
};

QAccessibleInterface* accessibleStatus(const QString&, QObject* object) {
    auto* status = dynamic_cast<StatusText*>(object);
    return status != nullptr ? new AccessibleStatus(status) : nullptr;
}

} // namespace

StatusText::StatusText(QWidget* parent) : QTextEdit(parent) {
    // The last one installed is asked first, and each application object installs its own.
    QAccessible::removeFactory(accessibleStatus);
    QAccessible::installFactory(accessibleStatus);
    setFrameShape(QFrame::NoFrame);
    setAcceptRichText(false);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setFocusPolicy(Qt::ClickFocus);
    setAcceptDrops(false);
    viewport()->setAcceptDrops(false);
    setUndoRedoEnabled(false);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    document()->setDocumentMargin(0);
    viewport()->setAutoFillBackground(false);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setFont(systemFont(kFontSize));
    applyColors();
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, [this] { m_isScrolled = true; });
}

void StatusText::present(const std::string& text, Tone tone, int firstLine) {
    if (tone != m_tone) {
        m_tone = tone;
        applyColors();
    }
    if (m_text == text && m_firstLine == firstLine)
        return;
    m_text = text;
    m_firstLine = firstLine;
    m_isScrolled = false;
    m_measured.clear();
    setFont(showsCommandLine(text) ? monospacedFont(kFontSize) : systemFont(kFontSize));
    setPlainText(shownLines(text));
    showScrollBarIfNeeded();
    showFirstLine();
    updateGeometry();
    for (const auto kind : {QAccessible::NameChanged, QAccessible::Alert}) {
        QAccessibleEvent event(this, kind);
        QAccessible::updateAccessibility(&event);
    }
}

double StatusText::wholeHeight(int width) const {
    const auto known = std::ranges::find(m_measured, width, &std::pair<int, double>::first);
    if (known != m_measured.end())
        return known->second;
    // The document stays as wide as it is shown: beside a scroll bar that is less.
    const double shownWidth = document()->textWidth();
    document()->setTextWidth(std::max(width, 1));
    const double height = document()->size().height();
    document()->setTextWidth(shownWidth);
    if (m_measured.size() >= kKnownWidths)
        m_measured.clear();
    return m_measured.emplace_back(width, height).second;
}

int StatusText::heightForWidth(int width) const {
    return std::min(static_cast<int>(std::ceil(wholeHeight(width))), kGreatestHeight);
}

void StatusText::showScrollBarIfNeeded() {
    // Left to itself, a scroll bar that came while there was little room would narrow the text and so stay.
    const bool isLong = wholeHeight(width()) > kGreatestHeight;
    setVerticalScrollBarPolicy(isLong ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    // What is seen whole is not in the way to the buttons; what is not can be read to its end first.
    setFocusPolicy(isLong ? Qt::StrongFocus : Qt::ClickFocus);
}

void StatusText::showFirstLine() {
    // Whoever reads or selects keeps what he sees.
    if (m_isScrolled || textCursor().hasSelection())
        return;
    const auto line = document()->findBlockByNumber(m_firstLine);
    verticalScrollBar()->setValue(static_cast<int>(document()->documentLayout()->blockBoundingRect(line).top()));
}

QSize StatusText::sizeHint() const {
    return {200, heightForWidth(width())};
}

QSize StatusText::minimumSizeHint() const {
    return {40, fontMetrics().height()};
}

void StatusText::keyPressEvent(QKeyEvent* event) {
    auto& bar = *verticalScrollBar();
    const bool scrolls = bar.maximum() > 0;
    if (event == QKeySequence::Copy || event == QKeySequence::SelectAll)
        QTextEdit::keyPressEvent(event);
    else if (scrolls && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down))
        bar.triggerAction(event->key() == Qt::Key_Up ? QScrollBar::SliderSingleStepSub
                                                     : QScrollBar::SliderSingleStepAdd);
    else if (scrolls && (event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown))
        bar.triggerAction(event->key() == Qt::Key_PageUp ? QScrollBar::SliderPageStepSub
                                                         : QScrollBar::SliderPageStepAdd);
    else if (scrolls && (event->key() == Qt::Key_Home || event->key() == Qt::Key_End))
        bar.triggerAction(event->key() == Qt::Key_Home ? QScrollBar::SliderToMinimum : QScrollBar::SliderToMaximum);
    else
        event->ignore();
}

void StatusText::paintEvent(QPaintEvent* event) {
    QTextEdit::paintEvent(event);
    // A text that was clicked needs no mark.
    if (!hasFocus() || focusPolicy() != Qt::StrongFocus)
        return;
    QPainter painter(viewport());
    painter.setPen(toneColor(Tone::accent, palette()));
    painter.drawRect(viewport()->rect().adjusted(0, 0, -1, -1));
}

void StatusText::resizeEvent(QResizeEvent* event) {
    QTextEdit::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        showScrollBarIfNeeded();
    showFirstLine();
}

void StatusText::changeEvent(QEvent* event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        m_measured.clear();
    if (event->type() == QEvent::PaletteChange)
        applyColors();
}

void StatusText::applyColors() {
    auto colors = palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, toneColor(m_tone, colors));
    if (colors != palette())
        setPalette(colors);
}

} // namespace torvo
