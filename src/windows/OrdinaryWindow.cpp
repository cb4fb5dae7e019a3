#include "windows/OrdinaryWindow.h"

#include "widgets/ApplicationIcon.h"
#include "widgets/Theme.h"

#include <QScreen>
#include <QVBoxLayout>

namespace torvo {

namespace {

/// What a window leaves of the height of a small screen, for its frame. Its content scrolls.
constexpr int kScreenReserve = 64;

} // namespace

OrdinaryWindow::OrdinaryWindow(const WindowFrame& frame, MakeContent makeContent)
    : m_frame(frame), m_makeContent(std::move(makeContent)) {}

void OrdinaryWindow::present() {
    if (!m_window) {
        m_window = std::make_unique<QWidget>();
        m_window->setWindowTitle(m_frame.title);
        m_window->setWindowIcon(applicationIcon());
        m_window->setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                                 Qt::WindowCloseButtonHint |
                                 (m_frame.canBeMinimized ? Qt::WindowMinimizeButtonHint : Qt::WindowFlags()));
        m_window->setAttribute(Qt::WA_QuitOnClose, false);
        m_window->setFont(styleFont(TextStyle::body));
        auto* column = new QVBoxLayout(m_window.get());
        column->setContentsMargins({});
        column->addWidget(m_makeContent());
        const auto available = m_window->screen()->availableGeometry();
        m_window->setFixedSize(m_frame.size.boundedTo({m_frame.size.width(), available.height() - kScreenReserve}));
        m_window->move(available.center() - m_window->rect().center());
    }
    if (m_window->isMinimized())
        m_window->showNormal();
    else
        m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void OrdinaryWindow::close() {
    if (m_window)
        m_window->close();
}

} // namespace torvo
