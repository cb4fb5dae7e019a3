#include "app/bar/AppDelegate.h"

#include "desktop/SettingsStore.h"
#include "desktop/URLEvent.h"
#include "linux/UserFolders.h"
#include "linux/qt/WindowShape.h"
#include "planning/LLMEndpoint.h"
#include "widgets/ApplicationIcon.h"
#include "windows/IdeasGalleryView.h"
#include "windows/OnboardingView.h"
#include "windows/OperationLogView.h"
#include "windows/SettingsView.h"

#include <malloc.h>

#include <QApplication>
#include <chrono>

namespace torvo {

namespace {

constexpr const char* kOnboardingShown = "onboardingShown";
constexpr const char* kBlurred = "torvobar.commandBarBlurred";
/// What the user does not look at first, the status item and whether there is a model, comes this much later than the
/// bar: both would take the processor and the X server from its first paint.
constexpr std::chrono::milliseconds kUntilThePaint{100};
constexpr QSize kAboutIcon(64, 64);
/// For what was asked to stop; longer than a command may take that does not listen.
constexpr std::chrono::seconds kLastMoments{3};

} // namespace

AppDelegate::AppDelegate(std::unique_ptr<X11Connection> display)
    : m_platform(m_dispatcher, m_services, std::move(display)),
      m_finder(
          {m_platform.scripts, m_platform.accessibility, m_platform.workspace, m_platform.screens, m_platform.log}),
      m_panel(m_platform.panel, m_platform.screens),
      m_hotKey(m_platform.hotKeys, m_services.defaults),
      m_settingsFailures(m_services.defaults.observeFailures(
          [this](const std::string&, const std::string& error) { m_platform.log.write("[Torvo] " + error); })),
      m_settingsWindow(kSettingsWindow,
                       [this] {
                           return new SettingsView({m_dispatcher, m_services.diskQueue, m_services.defaults,
                                                    m_platform.workspace, m_services.session, *m_updates, m_hotKey,
                                                    m_platform.loginItem, *m_modelSetup, *m_environment, *m_commandBar,
                                                    m_services.log});
                       }),
      m_onboardingWindow(kSetupWindow,
                         [this] {
                             return new OnboardingView({m_dispatcher, m_platform.accessibility, m_platform.workspace,
                                                        m_services.defaults, *m_modelSetup, m_hotKey},
                                                       [this] { m_onboardingWindow.close(); });
                         }),
      m_activityWindow(kActivityWindow, [this] { return new OperationLogView(*m_commandBar); }),
      m_ideasWindow(kIdeasWindow, [this] {
          return new IdeasGalleryView([this](std::string_view input) {
              m_ideasWindow.close();
              m_commandBar->prefill(std::string(input));
          });
      }) {}

AppDelegate::~AppDelegate() {
    // One that only hands over what it was started for has nothing to take back.
    if (m_commandBar)
        m_platform.distributed.post(kBlurred);
    m_rest.clear();
    m_attachment.reset();
    // What runs is asked to stop; only then is its end waited for.
    m_activations = {};
    m_platform.panel.setContent(nullptr);
    m_commandBar.reset();
    m_environment.reset();
    m_modelSetup.reset();
    m_platform.updater.stop();
    m_desktopQueue.sync([] {});
    m_services.diskQueue.sync([] {});
    m_dispatcher.finishDetached();
    // Nobody reads through the clipboard any more.
    m_platform.fileManagers.leaveClipboardBehind();
}

void AppDelegate::endWithoutDisplay() {
    m_rest.clear();
    m_activations = {};
    if (m_commandBar)
        m_commandBar->endWork();
    m_environment.reset();
    m_modelSetup.reset();
    m_platform.updater.stop();
    m_platform.distributed.post(kBlurred);
    m_services.diskQueue.sync([] {});
    m_dispatcher.finishDetached(kLastMoments);
}

void AppDelegate::applicationDidFinishLaunching() {
    LLMEndpoint::migratePreReleaseDefaultIfNeeded(m_services.defaults);
    m_updates.emplace(m_platform.updater);
    m_updateWindow.emplace(m_platform.updater, m_platform.workspace, TORVO_VERSION);
    m_modelSetup.emplace(LocalModelSetupService::Platform{m_dispatcher, m_services.processes, m_platform.workspace,
                                                          m_services.defaults, m_services.session});
    m_environment.emplace(EnvironmentHealthService::Platform{m_dispatcher, m_services.processes, m_platform.workspace});
    makeCommandBar();
    m_attachment.emplace(*m_commandBar, m_platform.workspace, m_dispatcher);
    // One turn of the main loop for each.
    m_rest.push_back(m_dispatcher.runAfter(kUntilThePaint, [this] { m_menuBar.emplace(menuActions()); }));
    m_rest.push_back(m_dispatcher.runAfter(kUntilThePaint, [this] { m_modelSetup->refresh(); }));
    m_hotKey.setAction([this] { m_commandBar->toggle(); });
    // The settings window says so too, when it is opened.
    if (!m_hotKey.applyStored())
        m_platform.log.write("[Torvo] " + m_hotKey.statusMessage() + " Until another one is set in Settings, " +
                             "torvo toggle does the same.");
    if (m_services.defaults.getAs<bool>(kOnboardingShown).value_or(false)) {
        m_desktopQueue.async([this] {
            if (!m_platform.accessibility.isTrusted())
                m_platform.accessibility.promptForTrust();
        });
        return;
    }
    // One that is stored counts as the user's choice: the next launch does not take this for a pre-release's settings.
    (void)LLMEndpoint::setCurrent(LLMEndpoint::current(m_services.defaults), m_services.defaults);
    (void)m_services.defaults.set(kOnboardingShown, true);
    m_onboardingWindow.present();
}

void AppDelegate::makeCommandBar() {
    m_runner.emplace(m_finder, m_services.processes, m_services.environment);
    m_commandBar.emplace(CommandBarServices{
        m_dispatcher, m_desktopQueue, m_services.diskQueue, m_panel, m_finder, m_platform.workspace, *m_runner,
        m_services.processes, m_services.defaults, m_services.session, m_services.log, m_platform.pasteboard,
        m_platform.notifications, m_platform.distributed, m_platform.trash,
        OperationStore(applicationSupportFolder().appendingPath("Torvo/activity.json"), m_platform.log), homeFolder(),
        desktopFolder()});
    m_view = new CommandBarView(*m_commandBar, m_hotKey, m_panel, backdrop(), setWindowShape);
    m_platform.panel.setContent(m_view);
    m_platform.panel.setCloseAction([this] { m_commandBar->cancel(); });
    m_activations = m_platform.front.onActivation([this] {
        m_view->setBackdrop(backdrop());
        // What reading a large folder took lies in many small pieces between what is kept; the C library gives them
        // back when it is asked to (malloc_trim(3)).
        m_services.diskQueue.async([] { ::malloc_trim(0); });
    });
    // On a desktop without a status area the menu is here.
    m_view->setMenuItems([this](QMenu& menu) {
        if (m_menuBar)
            m_menuBar->addItems(menu);
    });
}

MenuBarService::Actions AppDelegate::menuActions() {
    return {.showCommandBar = [this] { m_commandBar->toggle(); },
            .openSettings = [this] { m_settingsWindow.present(); },
            .showOnboarding = [this] { m_onboardingWindow.present(); },
            .showActivity = [this] { m_activityWindow.present(); },
            .showIdeas = [this] { m_ideasWindow.present(); },
            .checkForUpdates = [this] { m_updates->checkForUpdates(); },
            .toggleAutoAttach =
                [this] {
                    const bool isEnabled = !m_commandBar->state().autoAttachEnabled;
                    m_commandBar->setAutoAttachEnabled(isEnabled);
                    m_attachment->setEnabled(isEnabled);
                },
            .showAbout = [this] { showAbout(); },
            .quit = [] { QApplication::quit(); },
            .isAutoAttachEnabled = [this] { return m_commandBar->state().autoAttachEnabled; },
            .shortcut = [this] { return SettingsStore::hotKey(m_services.defaults); }};
}

void AppDelegate::showAbout() {
    if (m_about) {
        m_about->raise();
        m_about->activateWindow();
        return;
    }
    m_about = new QMessageBox(QMessageBox::NoIcon, "About Torvo",
                              "Torvo " TORVO_VERSION "\n\nA command bar for Finder: select files, type what you "
                              "want.");
    // By itself it would keep the keyboard from the bar.
    m_about->setWindowModality(Qt::NonModal);
    m_about->setTextFormat(Qt::PlainText);
    m_about->setWindowIcon(applicationIcon());
    m_about->setIconPixmap(applicationIcon().pixmap(kAboutIcon, m_about->devicePixelRatio()));
    m_about->setAttribute(Qt::WA_DeleteOnClose);
    m_about->show();
    m_about->activateWindow();
}

void AppDelegate::handleURLEvent(const std::string& address) {
    const auto files = filesOfURL(address);
    if (!files || !m_commandBar)
        return;
    if (files->empty())
        m_commandBar->openExpanded();
    else
        m_commandBar->handleDrop(*files);
}

} // namespace torvo
