#pragma once

#include "linux/X11Frames.h"
#include "platform/Panel.h"

#include <QWidget>
#include <memory>

namespace torvo {

/// The panel as a tool window without a frame, above others and on every virtual desktop. Showing it takes the keyboard
/// from nobody. It counts as shown, and as having the keyboard, from the moment it is told to.
class QtPanel final : public Panel {
  public:
    /// `connection` must outlive the object.
    explicit QtPanel(X11Connection& connection);
    ~QtPanel() override;
    QtPanel(const QtPanel&) = delete;
    QtPanel& operator=(const QtPanel&) = delete;

    bool isVisible() const override;
    bool hasOpenMenu() const override;
    Rect frame() const override;
    void setFrame(const Rect& frame) override;
    void orderFront() override;
    void orderOut() override;
    void makeKey() override;
    void afterDrawing(std::function<void()> action) override;
    void setKeyChangeAction(std::function<void(bool isKey)> action) override;

    /// The window, which fills itself with its one child.
    [[nodiscard]] QWidget& window() const;
    /// Calls `action` when the user asks the window manager to close the panel, which stays as it is by itself.
    void setCloseAction(std::function<void()> action);
    /// Puts the content into the window, which owns it, in place of the one before; null for none.
    void setContent(QWidget* content);

  private:
    class Window;

    void comeUp();
    void raise();
    void askForKey();

    X11Connection& m_connection;
    mutable PrimaryMonitor m_primary{m_connection};
    std::unique_ptr<Window> m_window;
    /// It is to be shown as soon as what goes on has come to its end, and to be given the keyboard then.
    bool m_isComing = false;
    bool m_isKeyWanted = false;
};

} // namespace torvo
