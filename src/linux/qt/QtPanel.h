#pragma once

#include "linux/X11Connection.h"
#include "platform/Panel.h"

#include <QWidget>
#include <memory>

namespace torvo {

/// The panel as a tool window without a frame, above others and on every virtual desktop. Showing it takes the keyboard
/// from nobody.
class QtPanel final : public Panel {
  public:
    /// `connection` must outlive the object.
    explicit QtPanel(X11Connection& connection);
    ~QtPanel() override;
    QtPanel(const QtPanel&) = delete;
    QtPanel& operator=(const QtPanel&) = delete;

    bool isVisible() const override;
    Rect frame() const override;
    void setFrame(const Rect& frame) override;
    void orderFront() override;
    void orderOut() override;
    void makeKey() override;
    void setKeyChangeAction(std::function<void(bool isKey)> action) override;

    /// The window, which fills itself with its one child.
    [[nodiscard]] QWidget& window() const;
    /// Calls `action` when the user asks the window manager to close the panel, which stays as it is by itself.
    void setCloseAction(std::function<void()> action);
    /// Puts the content into the window, which owns it, in place of the one before; null for none.
    void setContent(QWidget* content);

  private:
    class Window;

    X11Connection& m_connection;
    std::unique_ptr<Window> m_window;
};

} // namespace torvo
