#pragma once

#include "commandbar/CommandBarService.h"
#include "commandbar/view/BarBackground.h"
#include "desktop/CommandBarPanel.h"
#include "desktop/HotKeyCoordinator.h"
#include "support/Observable.h"

#include <QMenu>
#include <QWidget>
#include <functional>
#include <utility>

namespace torvo {

class CompactBody;
class FullBody;

/// What the user sees and touches of the command bar: it shows the controller's state, calls its operations, and keeps
/// the panel as high as its content. It fills the panel's window.
class CommandBarView final : public QWidget {
  public:
    /// Cuts a window to a shape in device pixels, or shows all of it again for null; false where it cannot.
    using ShapeWindow = std::function<bool(const QWidget& window, const QRegion* devicePixels)>;

    /// `panel`: what holds the view. All must outlive the view. Without `shapeWindow` the view is cut as finely as Qt
    /// can.
    CommandBarView(CommandBarService& service, HotKeyCoordinator& hotKey, CommandBarPanel& panel, Backdrop backdrop,
                   ShapeWindow shapeWindow = {}, QWidget* parent = nullptr);
    ~CommandBarView() override;
    CommandBarView(const CommandBarView&) = delete;
    CommandBarView& operator=(const CommandBarView&) = delete;

    /// Shows a state: called with the controller's after each of its changes.
    void present(const CommandBarState& state);
    /// Follows a compositor that came or went.
    void setBackdrop(Backdrop backdrop);

    /// Has `addItems` fill the menu that a right click on the bar opens; on the field it comes after what can be done
    /// with the text.
    void setMenuItems(std::function<void(QMenu& menu)> addItems) { m_addMenuItems = std::move(addItems); }

    /// The height that the content needs at the present width, the margin included.
    [[nodiscard]] int contentHeight();
    /// The panel decides on the size.
    [[nodiscard]] QSize minimumSizeHint() const override { return {}; }

    /// Whether files are being dragged over the bar.
    [[nodiscard]] bool isDropTargeted() const { return m_dropTarget == DropTarget::yes; }

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void setDropTarget(DropTarget target);
    void openFieldMenu(const QPoint& place);
    void openMenu(QMenu* menu, const QPoint& place);
    void fitPanel();
    void applyMask();

    CommandBarService& m_service;
    HotKeyCoordinator& m_hotKey;
    CommandBarPanel& m_panel;
    Backdrop m_backdrop;
    ShapeWindow m_shapeWindow;
    DropTarget m_dropTarget = DropTarget::no;
    /// The scale factor for which the window is cut to the bar's shape; 0 while it is whole.
    double m_cutScale = 0;
    FullBody* m_full;
    CompactBody* m_compact;
    std::function<void(QMenu& menu)> m_addMenuItems;
    Subscription m_stateChanges;
    Subscription m_shortcutChanges;
};

} // namespace torvo
