#include "commandbar/view/CommandBarView.h"

#include "commandbar/view/BarPresentation.h"
#include "commandbar/view/CompactBody.h"
#include "commandbar/view/FullBody.h"
#include "support/FileURLText.h"

#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPaintEvent>
#include <QVBoxLayout>
#include <utility>

namespace torvo {

namespace {

constexpr int kSidePadding = 14;
constexpr int kEndPadding = 12;

/// Brings the layouts of what is shown up to date, innermost first: by itself, each would wait for its turn of the main
/// loop before it told the next one.
void settleLayouts(QWidget& widget) {
    for (auto* child : widget.children()) {
        if (child->isWidgetType() && !static_cast<QWidget*>(child)->isHidden())
            settleLayouts(*static_cast<QWidget*>(child));
    }
    if (auto* layout = widget.layout()) {
        layout->invalidate();
        layout->activate();
    }
}

/// Forgets what the layouts asked for while they were brought up to date: it would all be done again, for ever.
void dropLayoutRequests(QWidget& widget) {
    QCoreApplication::removePostedEvents(&widget, QEvent::LayoutRequest);
    for (auto* child : widget.children())
        if (child->isWidgetType())
            dropLayoutRequests(*static_cast<QWidget*>(child));
}

/// The files stay where they are: a source that was told of a move would delete them.
void acceptWithoutMoving(QDropEvent& event) {
    event.setDropAction(event.possibleActions().testFlag(Qt::CopyAction) ? Qt::CopyAction : Qt::IgnoreAction);
    event.accept();
}

} // namespace

CommandBarView::CommandBarView(CommandBarService& service, HotKeyCoordinator& hotKey, CommandBarPanel& panel,
                               Backdrop backdrop, ShapeWindow shapeWindow, QWidget* parent)
    : QWidget(parent),
      m_service(service),
      m_hotKey(hotKey),
      m_panel(panel),
      m_backdrop(backdrop),
      m_shapeWindow(std::move(shapeWindow)),
      m_full(new FullBody(service, panel, this)),
      m_compact(new CompactBody(
          [this] {
              if (m_panel.isVisible())
                  m_panel.makeKey();
              else
                  m_service.openExpanded();
          },
          this)) {
    setAcceptDrops(true);
    setAttribute(Qt::WA_TranslucentBackground);
    setAccessibleName(QStringLiteral("Torvo command bar"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kBarMargin + kSidePadding, kBarMargin + kEndPadding, kBarMargin + kSidePadding,
                               kBarMargin + kEndPadding);
    column->setSpacing(0);
    column->addWidget(m_full);
    column->addWidget(m_compact);
    column->setSizeConstraint(QLayout::SetNoConstraint);
    auto& field = m_full->field();
    field.setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(&field, &QWidget::customContextMenuRequested, this,
                     [this, &field](const QPoint& place) { openFieldMenu(field.mapToGlobal(place)); });
    m_compact->showShortcut(m_hotKey.configuration().displayName());
    m_stateChanges = m_service.observe([this] { present(m_service.state()); });
    m_shortcutChanges = m_hotKey.observe([this] { m_compact->showShortcut(m_hotKey.configuration().displayName()); });
    present(m_service.state());
}

CommandBarView::~CommandBarView() = default;

void CommandBarView::present(const CommandBarState& state) {
    m_full->present(state);
    m_compact->present(state);
    // The one that goes makes room for the one that comes.
    (state.isKeyWindow ? static_cast<QWidget*>(m_compact) : m_full)->hide();
    (state.isKeyWindow ? static_cast<QWidget*>(m_full) : m_compact)->setVisible(true);
    fitPanel();
}

void CommandBarView::setBackdrop(Backdrop backdrop) {
    m_backdrop = backdrop;
    applyMask();
    update();
}

int CommandBarView::contentHeight() {
    settleLayouts(*this);
    dropLayoutRequests(*this);
    return layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width()) : layout()->totalSizeHint().height();
}

void CommandBarView::fitPanel() {
    // Layouts are settled also while it is hidden: it may be shown before the next change.
    m_panel.fit(contentHeight());
}

void CommandBarView::applyMask() {
    auto& holder = *window();
    const QRect place(mapTo(&holder, QPoint()), size());
    if (m_backdrop != Backdrop::opaque) {
        if (std::exchange(m_cutScale, 0) != 0) {
            if (m_shapeWindow)
                (void)m_shapeWindow(holder, nullptr);
            holder.clearMask();
        }
        return;
    }
    m_cutScale = holder.devicePixelRatio();
    const auto shape = barMask(place, m_cutScale);
    if (!m_shapeWindow || !m_shapeWindow(holder, &shape))
        holder.setMask(barMask(place, 1));
}

bool CommandBarView::event(QEvent* event) {
    const bool isHandled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest)
        fitPanel();
    return isHandled;
}

void CommandBarView::paintEvent(QPaintEvent* event) {
    // The window may have moved to a monitor with another scale factor.
    if (m_cutScale != 0 && m_cutScale != window()->devicePixelRatio())
        applyMask();
    QPainter painter(this);
    drawBarBackground(painter, rect(), event->rect(), palette(), m_backdrop, m_dropTarget);
}

void CommandBarView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    applyMask();
    if (event->size().width() != event->oldSize().width())
        fitPanel();
}

void CommandBarView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    applyMask();
    fitPanel();
}

void CommandBarView::keyPressEvent(QKeyEvent* event) {
    // Keys that the focused part of the bar has no use for.
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        if (!event->isAutoRepeat())
            m_service.cancel();
        return;
    }
    const auto text = event->text();
    const bool isForField = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                            event->key() == Qt::Key_Backspace || (!text.isEmpty() && text.front().isPrint());
    if (m_service.state().isKeyWindow && isForField && !m_full->field().hasFocus()) {
        m_full->field().setFocus(Qt::OtherFocusReason);
        QApplication::sendEvent(&m_full->field(), event);
        return;
    }
    QWidget::keyPressEvent(event);
}

void CommandBarView::contextMenuEvent(QContextMenuEvent* event) {
    openMenu(new QMenu(this), event->globalPos());
}

void CommandBarView::openFieldMenu(const QPoint& place) {
    auto* menu = m_full->field().createStandardContextMenu();
    // The field is empty most of the time, and then almost nothing can be done with its text.
    for (auto* action : menu->actions())
        action->setVisible(action->isSeparator() || action->isEnabled());
    menu->addSeparator();
    openMenu(menu, place);
}

void CommandBarView::openMenu(QMenu* menu, const QPoint& place) {
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_addMenuItems)
        m_addMenuItems(*menu);
    if (menu->isEmpty())
        menu->deleteLater();
    else
        menu->popup(place);
}

void CommandBarView::setDropTarget(DropTarget target) {
    m_dropTarget = target;
    update();
}

void CommandBarView::dragEnterEvent(QDragEnterEvent* event) {
    if (!event->mimeData()->hasUrls())
        return;
    acceptWithoutMoving(*event);
    setDropTarget(DropTarget::yes);
}

void CommandBarView::dragLeaveEvent(QDragLeaveEvent*) {
    setDropTarget(DropTarget::no);
}

void CommandBarView::dropEvent(QDropEvent* event) {
    setDropTarget(DropTarget::no);
    // The list as it was sent: a name that is not UTF-8 would not survive as a text.
    const auto list = event->mimeData()->data(QStringLiteral("text/uri-list"));
    acceptWithoutMoving(*event);
    m_service.handleDrop(filesInUriList(list.toStdString()));
}

} // namespace torvo
