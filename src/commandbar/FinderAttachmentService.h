#pragma once

#include "commandbar/CommandBarService.h"
#include "platform/Dispatcher.h"
#include "platform/Workspace.h"
#include "support/Observable.h"

#include <memory>

namespace torvo {

/// While it is on, keeps the bar docked under the front window of the file manager whenever that is the frontmost
/// application, and hides it when it is not. Main thread only.
class FinderAttachmentService {
  public:
    /// Begins at once, when the user's setting is on. All must outlive the service.
    FinderAttachmentService(CommandBarService& bar, Workspace& workspace, Dispatcher& dispatcher);

    void setEnabled(bool isEnabled);
    [[nodiscard]] bool isFollowing() const { return m_followTimer != nullptr; }

  private:
    void syncToFrontApp();
    void syncSoon();

    CommandBarService& m_bar;
    Workspace& m_workspace;
    Dispatcher& m_dispatcher;
    bool m_isEnabled;
    std::unique_ptr<ScheduledTask> m_followTimer;
    std::unique_ptr<ScheduledTask> m_soon;
    Subscription m_activation;
};

} // namespace torvo
