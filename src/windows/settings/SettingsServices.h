#pragma once

#include "assistance/EnvironmentHealthService.h"
#include "assistance/LocalModelSetupService.h"
#include "commandbar/CommandBarService.h"
#include "desktop/HotKeyCoordinator.h"
#include "desktop/UpdateService.h"
#include "execution/CommandLog.h"
#include "platform/Dispatcher.h"
#include "platform/HttpSession.h"
#include "platform/LoginItem.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

#include <functional>
#include <string>

namespace torvo {

/// What the settings window works with. All must outlive the window; the session also the dispatcher's detached tasks.
struct SettingsServices {
    Dispatcher& dispatcher;
    /// Where the disk is written to, one change after the other.
    SerialQueue& diskQueue;
    UserDefaults& defaults;
    Workspace& workspace;
    HttpSession& session;
    UpdateService& updates;
    HotKeyCoordinator& hotKey;
    LoginItem& loginItem;
    LocalModelSetupService& modelSetup;
    EnvironmentHealthService& environment;
    CommandBarService& commandBar;
    CommandLog& log;
};

/// Shows a line about the user's data, or about a setting that could not be changed.
using Report = std::function<void(std::string line)>;

} // namespace torvo
