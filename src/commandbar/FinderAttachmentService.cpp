#include "commandbar/FinderAttachmentService.h"

namespace torvo {

namespace {

using namespace std::chrono_literals;

constexpr auto kFollowInterval = 150ms;
constexpr auto kFollowTolerance = 50ms;

} // namespace

FinderAttachmentService::FinderAttachmentService(CommandBarService& bar, Workspace& workspace, Dispatcher& dispatcher)
    : m_bar(bar),
      m_workspace(workspace),
      m_dispatcher(dispatcher),
      m_isEnabled(bar.state().autoAttachEnabled),
      m_activation(workspace.onActivation([this] { syncToFrontApp(); })) {
    syncToFrontApp();
}

void FinderAttachmentService::setEnabled(bool isEnabled) {
    m_isEnabled = isEnabled;
    if (isEnabled) {
        syncToFrontApp();
    } else {
        m_followTimer.reset();
        m_bar.detach();
    }
}

void FinderAttachmentService::syncToFrontApp() {
    if (!m_isEnabled)
        return;
    if (m_workspace.frontmostApplication() != kFinderIdentifier) {
        m_followTimer.reset();
        m_bar.detach();
        return;
    }
    m_bar.syncAttachment();
    if (!m_followTimer)
        m_followTimer = m_dispatcher.runEvery(kFollowInterval, kFollowTolerance, [this] { syncToFrontApp(); });
}

} // namespace torvo
