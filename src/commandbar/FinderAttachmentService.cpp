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
      m_activation(workspace.onActivation([this] { syncSoon(); })) {
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

void FinderAttachmentService::syncSoon() {
    // Windows may change hands many times in a row: where the last one is counts.
    if (!m_soon)
        m_soon = m_dispatcher.runAfter(0ms, [this] { syncToFrontApp(); });
}

void FinderAttachmentService::syncToFrontApp() {
    m_soon.reset();
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
