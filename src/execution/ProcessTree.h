#pragma once

#include "platform/ProcessHost.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace torvo {

/// Everything that runs under `root`, itself not included: its children first, then the descendants of the first child,
/// then those of the second, and so on, so that the last entries are the deepest under the last child. A number that
/// comes up a second time or is not positive is left out.
[[nodiscard]] std::vector<std::int32_t>
descendantPIDs(std::int32_t root, const std::function<std::vector<std::int32_t>(std::int32_t)>& children);

/// The stopping of one child with everything it started: asked first, killed later. Remembers who was asked, so that
/// nobody else is ever killed.
class TreeStop {
  public:
    /// `root`: a child of this process that is not reaped before this object is done with. It leads its own group.
    TreeStop(ProcessHost& host, const ProcessIdentity& root) : m_host(&host), m_root(root) {}

    /// Asks every process of the tree to end, the deepest first, then the whole group. None goes on before all are
    /// asked.
    void terminateTree();
    /// Asks those that got away from the tree but hold on to its pipes, remembering them too. Whoever was there before
    /// the root is left alone: a service that was handed a pipe is nobody's descendant.
    void terminateStrays(const std::vector<ProcessIdentity>& strays);
    /// Kills those asked before that are still there, with whatever they started since; then the whole group.
    void killTree();
    /// Whether everyone who was asked, the root excepted, has ended.
    [[nodiscard]] bool isTreeGone() const;

  private:
    /// To the remembered ones, the deepest first.
    void signalAll(StopSignal signal);
    void rememberDescendants(const ProcessIdentity& process);
    [[nodiscard]] bool isRemembered(std::int32_t pid) const;

    ProcessHost* m_host;
    ProcessIdentity m_root;
    std::vector<ProcessIdentity> m_descendants;
};

} // namespace torvo
