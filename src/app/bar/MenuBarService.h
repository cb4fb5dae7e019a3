#pragma once

#include "desktop/HotKeyConfiguration.h"

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>

namespace torvo {

/// The status item and its menu.
class MenuBarService {
  public:
    struct Actions {
        std::function<void()> showCommandBar;
        std::function<void()> openSettings;
        std::function<void()> showOnboarding;
        std::function<void()> showActivity;
        std::function<void()> showIdeas;
        std::function<void()> checkForUpdates;
        std::function<void()> toggleAutoAttach;
        std::function<void()> showAbout;
        std::function<void()> quit;
        /// Asked each time the menu opens.
        std::function<bool()> isAutoAttachEnabled;
        std::function<HotKeyConfiguration()> shortcut;
    };
    explicit MenuBarService(Actions actions);
    MenuBarService(const MenuBarService&) = delete;
    MenuBarService& operator=(const MenuBarService&) = delete;

    /// For desktops without a status area: adds the same items to a menu that is about to open.
    void addItems(QMenu& menu);

  private:
    QAction* add(const QString& title, std::function<void()> action);
    void menuWillOpen();

    Actions m_actions;
    QMenu m_menu;
    QAction* m_autoAttachItem = nullptr;
    QAction* m_showItem = nullptr;
    QSystemTrayIcon m_statusItem;
};

/// The shortcut as Qt writes it: Command is the Super key, which Qt calls Meta.
[[nodiscard]] QKeySequence keySequence(const HotKeyConfiguration& shortcut);

} // namespace torvo
