#pragma once

#include "desktop/HotKeyCoordinator.h"
#include "desktop/UpdateService.h"
#include "tests/support/Bar.h"
#include "tests/support/FakeDesktop.h"
#include "windows/OnboardingView.h"
#include "windows/settings/SettingsServices.h"

#include <string>
#include <vector>

namespace torvo::testing {

/// All that the windows work with: a bar at work, and the services around it. Tools are looked for in a folder of the
/// test's own.
class SettingsDesk {
  public:
    explicit SettingsDesk(ManualDispatcher::Detached detached = ManualDispatcher::Detached::onThreads) : bar(detached) {
        hotKey.setAction([] {});
    }

    [[nodiscard]] SettingsServices settings() {
        return {*bar.dispatcher, bar.diskQueue, *bar.settings, bar.finder.workspace, bar.session,  updates,
                hotKey,          loginItem,     modelSetup,    environment,          *bar.service, bar.log};
    }
    [[nodiscard]] OnboardingServices onboarding() {
        return {*bar.dispatcher, bar.finder.accessibility, bar.finder.workspace, *bar.settings, modelSetup, hotKey};
    }
    [[nodiscard]] std::vector<std::string> locations() const { return {tools.path() + "/"}; }
    /// A tool that succeeds and does nothing.
    void installTool(std::string_view name) const { (void)tools.program(name, "#!/bin/sh\nexit 0\n"); }

    TemporaryFolder tools;
    Bar bar;
    FakeHotKeys hotKeys;
    FakeLoginItem loginItem;
    FakeUpdater updater;
    UpdateService updates{updater};
    HotKeyCoordinator hotKey{hotKeys, *bar.settings};
    LocalModelSetupService modelSetup{{*bar.dispatcher, bar.processes, bar.finder.workspace, *bar.settings, bar.session,
                                       locations(), tools / "Ollama.app"}};
    EnvironmentHealthService environment{{*bar.dispatcher, bar.processes, bar.finder.workspace, locations()}};
};

} // namespace torvo::testing
