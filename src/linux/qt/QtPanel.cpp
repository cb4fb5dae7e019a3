#include "linux/qt/QtPanel.h"

#include "linux/qt/QtDesktopPoints.h"

#include <QApplication>
#include <QCloseEvent>
#include <QTimer>
#include <chrono>
#include <utility>
#include <vector>

namespace torvo {

namespace {

/// _NET_WM_DESKTOP of a window that is on all of them (Extended Window Manager Hints).
constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;

/// So long the window manager may take to hand over the keyboard.
constexpr std::chrono::seconds kHandOver{1};

/// So long whoever waits for the panel to be drawn waits at most: one that cannot be seen never is.
constexpr std::chrono::milliseconds kDrawing{100};

} // namespace

class QtPanel::Window final : public QWidget {
  public:
    Window() : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_QuitOnClose, false);
        setWindowTitle("Torvo");
        m_handOver.setSingleShot(true);
        m_handOver.setInterval(kHandOver);
        connect(&m_handOver, &QTimer::timeout, this, [this] { tell(isActiveWindow()); });
        m_drawing.setSingleShot(true);
        connect(&m_drawing, &QTimer::timeout, this, [this] { goOn(); });
    }

    /// Counts as having the keyboard from now on, and no longer when it has not come in time: what is shown before
    /// would have to be drawn anew.
    void expectKey() {
        if (m_isKey)
            return;
        m_handOver.start();
        tell(true);
    }
    void tell(bool isKey) {
        if (!isKey || isActiveWindow())
            m_handOver.stop();
        if (std::exchange(m_isKey, isKey) != isKey && keyChanged)
            keyChanged(isKey);
    }

    void fill() {
        if (content != nullptr)
            content->setGeometry(rect());
    }

    [[nodiscard]] bool isDrawn() const { return m_isDrawn; }
    void afterDrawing(std::function<void()> action) {
        m_afterDrawing.push_back(std::move(action));
        if (!m_drawing.isActive())
            m_drawing.start(kDrawing);
    }
    /// With what was to wait for the drawing.
    void goOn() {
        m_drawing.stop();
        for (const auto& action : std::exchange(m_afterDrawing, {}))
            action();
    }

    std::function<void(bool isKey)> keyChanged;
    std::function<void()> closed;
    QWidget* content = nullptr;

  protected:
    void resizeEvent(QResizeEvent* event) override {
        QWidget::resizeEvent(event);
        fill();
    }
    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::ActivationChange)
            tell(isActiveWindow());
    }
    void closeEvent(QCloseEvent* event) override {
        // The program's own end closes it as well.
        if (!event->spontaneous())
            return QWidget::closeEvent(event);
        // Closing would destroy the window that others know by its number.
        event->ignore();
        if (closed)
            closed();
    }
    void paintEvent(QPaintEvent* event) override {
        QWidget::paintEvent(event);
        // Once this is on the screen with all that is in it.
        if (!std::exchange(m_isDrawn, true))
            m_drawing.start(0);
    }
    void hideEvent(QHideEvent* event) override {
        QWidget::hideEvent(event);
        m_isDrawn = false;
        tell(false);
    }

  private:
    bool m_isKey = false;
    bool m_isDrawn = false;
    QTimer m_handOver;
    QTimer m_drawing;
    std::vector<std::function<void()>> m_afterDrawing;
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
    return m_isComing || m_window->isVisible();
}

bool QtPanel::hasOpenMenu() const {
    return QApplication::activePopupWidget() != nullptr;
}

Rect QtPanel::frame() const {
    return fromQtGeometry(m_primary.now(), m_window->geometry(), *m_window->screen());
}

void QtPanel::setFrame(const Rect& frame) {
    const auto geometry = toQtGeometry(m_primary.now(), frame);
    if (m_window->geometry() == geometry)
        return;
    m_window->setGeometry(geometry);
    // While the window is hidden, it hears of its size when it is shown: all would be laid out for the one before.
    m_window->fill();
}

void QtPanel::orderFront() {
    if (m_window->isVisible())
        return raise();
    // Whoever shows the panel sets its content and its size next. Both are there when it comes up: the window manager
    // places it once, and it is drawn once.
    if (!std::exchange(m_isComing, true))
        QMetaObject::invokeMethod(m_window.get(), [this] { comeUp(); }, Qt::QueuedConnection);
}

void QtPanel::comeUp() {
    if (!std::exchange(m_isComing, false))
        return;
    m_window->show();
    raise();
    if (std::exchange(m_isKeyWanted, false))
        askForKey();
}

void QtPanel::raise() {
    m_window->raise();
    xcb_ewmh_request_change_wm_desktop(m_connection.hints(), m_connection.screenNumber(),
                                       static_cast<xcb_window_t>(m_window->winId()), kAllDesktops,
                                       XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER);
    xcb_flush(m_connection.get());
}

void QtPanel::orderOut() {
    m_isComing = false;
    m_isKeyWanted = false;
    m_window->hide();
    m_window->tell(false);
    m_window->goOn();
}

void QtPanel::makeKey() {
    if (m_isComing)
        m_isKeyWanted = true;
    else
        askForKey();
    if (isVisible())
        m_window->expectKey();
}

void QtPanel::askForKey() {
    m_window->activateWindow();
    // Window managers may refuse the keyboard to a program that the user did not touch last; the shortcut was pressed.
    m_connection.activate(static_cast<xcb_window_t>(m_window->winId()));
}

void QtPanel::afterDrawing(std::function<void()> action) {
    if (isVisible() && !m_window->isDrawn())
        m_window->afterDrawing(std::move(action));
    else
        action();
}

void QtPanel::setKeyChangeAction(std::function<void(bool isKey)> action) {
    m_window->keyChanged = std::move(action);
}

void QtPanel::setCloseAction(std::function<void()> action) {
    m_window->closed = std::move(action);
}

} // namespace torvo
