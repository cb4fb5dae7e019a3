#include "app/bar/MenuBarService.h"

#include "widgets/Symbol.h"

namespace torvo {

namespace {

/// The status area is dark on most desktops, light on some: a tone that can be seen on both.
constexpr QColor kStatusItemColor(0x8E, 0x8E, 0x93);

} // namespace

QKeySequence keySequence(const HotKeyConfiguration& shortcut) {
    Qt::KeyboardModifiers modifiers;
    modifiers.setFlag(Qt::MetaModifier, shortcut.command);
    modifiers.setFlag(Qt::ShiftModifier, shortcut.shift);
    modifiers.setFlag(Qt::AltModifier, shortcut.option);
    modifiers.setFlag(Qt::ControlModifier, shortcut.control);
    const auto key =
        shortcut.key.size() == 1 ? static_cast<Qt::Key>(Qt::Key_A + (shortcut.key.front() - 'a')) : Qt::Key_Space;
    return {QKeyCombination(modifiers, key)};
}

MenuBarService::MenuBarService(Actions actions) : m_actions(std::move(actions)) {
    m_autoAttachItem = add("Attach to Finder Windows", m_actions.toggleAutoAttach);
    m_autoAttachItem->setCheckable(true);
    m_showItem = add("Show Command Bar", m_actions.showCommandBar);
    add("Ideas…", m_actions.showIdeas);
    m_menu.addSeparator();
    add("About Torvo", m_actions.showAbout);
    add("Activity Log…", m_actions.showActivity);
    add("Setup && Permissions…", m_actions.showOnboarding);
    add("Settings…", m_actions.openSettings)->setShortcut(QKeySequence(Qt::META | Qt::Key_Comma));
    add("Check for Updates…", m_actions.checkForUpdates);
    m_menu.addSeparator();
    add("Quit Torvo", m_actions.quit)->setShortcut(QKeySequence(Qt::META | Qt::Key_Q));
    for (auto* action : m_menu.actions())
        action->setShortcutVisibleInContextMenu(true);
    QObject::connect(&m_menu, &QMenu::aboutToShow, &m_menu, [this] { menuWillOpen(); });
    menuWillOpen();

    m_statusItem.setIcon(symbolIcon(Symbol::wandAndStars, kStatusItemColor));
    m_statusItem.setToolTip("Torvo");
    m_statusItem.setContextMenu(&m_menu);
    QObject::connect(&m_statusItem, &QSystemTrayIcon::activated, &m_menu,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger)
                             m_menu.popup(QCursor::pos());
                     });
    m_statusItem.show();
}

QAction* MenuBarService::add(const QString& title, std::function<void()> action) {
    return m_menu.addAction(title, &m_menu, std::move(action));
}

void MenuBarService::addItems(QMenu& menu) {
    menuWillOpen();
    menu.addActions(m_menu.actions());
}

void MenuBarService::menuWillOpen() {
    m_autoAttachItem->setChecked(m_actions.isAutoAttachEnabled());
    m_showItem->setShortcut(keySequence(m_actions.shortcut()));
}

} // namespace torvo
