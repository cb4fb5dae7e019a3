#pragma once

#include "app/Services.h"
#include "app/bar/DesktopPlatform.h"
#include "app/bar/MenuBarService.h"
#include "app/bar/UpdateWindow.h"
#include "assistance/EnvironmentHealthService.h"
#include "assistance/LocalModelSetupService.h"
#include "commandbar/CommandBarService.h"
#include "commandbar/FinderAttachmentService.h"
#include "commandbar/view/CommandBarView.h"
#include "desktop/FinderService.h"
#include "desktop/HotKeyCoordinator.h"
#include "desktop/UpdateService.h"
#include "windows/OrdinaryWindow.h"

#include <QMessageBox>
#include <QPointer>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace torvo {

/// The application: makes everything at launch, in its order, and keeps it until exit.
class AppDelegate {
  public:
    explicit AppDelegate(std::unique_ptr<X11Connection> display);
    /// Tells the session that the bar is gone, waits for what still runs beside the main thread, and leaves the user's
    /// clipboard to a process of its own where the bar has put it back.
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    void applicationDidFinishLaunching();
    /// Ends what runs: the display is gone, and with it the program.
    void endWithoutDisplay();
    /// Hands the files of a "torvo:" address to the bar; an address without files opens it.
    void handleURLEvent(const std::string& address);

    [[nodiscard]] bool isBarShown() const { return m_panel.isVisible(); }
    [[nodiscard]] CommandBarService& commandBar() { return *m_commandBar; }
    [[nodiscard]] QtDispatcher& dispatcher() { return m_dispatcher; }

  private:
    [[nodiscard]] MenuBarService::Actions menuActions();
    [[nodiscard]] Backdrop backdrop() {
        return m_platform.display->hasCompositor() ? Backdrop::translucent : Backdrop::opaque;
    }
    void makeCommandBar();
    void showAbout();

    QtDispatcher m_dispatcher;
    Services m_services{&m_dispatcher};
    DesktopPlatform m_platform;
    FinderService m_finder;
    ThreadQueue m_desktopQueue;
    CommandBarPanel m_panel;
    HotKeyCoordinator m_hotKey;
    Subscription m_settingsFailures;
    std::optional<ActionRunner> m_runner;
    std::optional<UpdateService> m_updates;
    std::optional<UpdateWindow> m_updateWindow;
    std::optional<LocalModelSetupService> m_modelSetup;
    std::optional<EnvironmentHealthService> m_environment;
    std::optional<CommandBarService> m_commandBar;
    /// Owned by the panel's window.
    CommandBarView* m_view = nullptr;
    /// Compositors come and go with the desktop's settings.
    Subscription m_activations;
    std::optional<FinderAttachmentService> m_attachment;
    std::optional<MenuBarService> m_menuBar;
    /// What is still to be made after the launch.
    std::vector<std::unique_ptr<ScheduledTask>> m_rest;
    /// While it is open.
    QPointer<QMessageBox> m_about;
    OrdinaryWindow m_settingsWindow;
    OrdinaryWindow m_onboardingWindow;
    OrdinaryWindow m_activityWindow;
    OrdinaryWindow m_ideasWindow;
};

} // namespace torvo
