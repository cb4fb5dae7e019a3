#include "linux/qt/QtPanel.h"

#include "linux/qt/QtDesktopPoints.h"

#include <QCloseEvent>
#include <utility>

namespace torvo {

namespace {

/// _NET_WM_DESKTOP of a window that is on all of them (Extended Window Manager Hints).
constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;

} // namespace

class QtPanel::Window final : public QWidget {
  public:
    Window() : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_QuitOnClose, false);
        setWindowTitle("Torvo");
    }

    std::function<void(bool isKey)> keyChanged;
    std::function<void()> closed;
    QWidget* content = nullptr;

  protected:
    void resizeEvent(QResizeEvent* event) override {
        QWidget::resizeEvent(event);
        if (content != nullptr)
            content->setGeometry(rect());
    }
    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::ActivationChange)
            tell(isActiveWindow());
    }
    void closeEvent(QCloseEvent* event) override {
        // Closing would destroy the window that others know by its number.
        event->ignore();
        if (closed)
            closed();
    }
    void hideEvent(QHideEvent* event) override {
        QWidget::hideEvent(event);
        tell(false);
    }

  private:
    void tell(bool isKey) {
        if (std::exchange(m_isKey, isKey) != isKey && keyChanged)
            keyChanged(isKey);
    }

    bool m_isKey = false;
};

QtPanel::QtPanel(X11Connection& connection) : m_connection(connection), m_window(std::make_unique<Window>()) {
    m_window->setGeometry(0, 0, 600, 90);
    // The window system's window is there from now on, and with it the screen that Qt counts by.
    (void)m_window->winId();
}

QtPanel::~QtPanel() {
    m_window->keyChanged = {};
}

QWidget& QtPanel::window() const {
    return *m_window;
}

void QtPanel::setContent(QWidget* content) {
    delete m_window->content;
    m_window->content = content;
    m_window->setFocusProxy(content);
    if (content == nullptr)
        return;
    content->setParent(m_window.get());
    content->setGeometry(m_window->rect());
    content->show();
}

bool QtPanel::isVisible() const {
    return m_window->isVisible();
}

Rect QtPanel::frame() const {
    return fromQtGeometry(m_connection, m_window->geometry(), *m_window->screen());
}

void QtPanel::setFrame(const Rect& frame) {
    const auto geometry = toQtGeometry(m_connection, frame);
    if (m_window->geometry() != geometry)
        m_window->setGeometry(geometry);
}

void QtPanel::orderFront() {
    const auto id = static_cast<xcb_window_t>(m_window->winId());
    m_window->show();
    m_window->raise();
    xcb_ewmh_request_change_wm_desktop(m_connection.hints(), m_connection.screenNumber(), id, kAllDesktops,
                                       XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_flush(m_connection.get());
}

void QtPanel::orderOut() {
    m_window->hide();
}

void QtPanel::makeKey() {
    m_window->activateWindow();
    // Window managers may refuse the keyboard to a program that the user did not touch last; the shortcut was pressed.
    m_connection.activate(static_cast<xcb_window_t>(m_window->winId()));
}

void QtPanel::setKeyChangeAction(std::function<void(bool isKey)> action) {
    m_window->keyChanged = std::move(action);
}

void QtPanel::setCloseAction(std::function<void()> action) {
    m_window->closed = std::move(action);
}

} // namespace torvo
