#include "execution/ProcessTree.h"

#include <algorithm>
#include <ranges>
#include <unordered_set>
#include <utility>

namespace torvo {

namespace {

std::pair<std::uint64_t, std::uint64_t> startOf(const ProcessIdentity& process) {
    return {process.startSeconds, process.startMicroseconds};
}

} // namespace

std::vector<std::int32_t> descendantPIDs(std::int32_t root,
                                         const std::function<std::vector<std::int32_t>(std::int32_t)>& children) {
    std::vector<std::int32_t> found;
    std::unordered_set<std::int32_t> seen{root};
    std::vector<std::int32_t> waiting{root};
    while (!waiting.empty()) {
        const std::int32_t parent = waiting.back();
        waiting.pop_back();
        const std::size_t first = found.size();
        for (const std::int32_t child : children(parent))
            if (child > 0 && seen.insert(child).second)
                found.push_back(child);
        waiting.insert(waiting.end(), found.rbegin(), found.rend() - static_cast<std::ptrdiff_t>(first));
    }
    return found;
}

void TreeStop::terminateTree() {
    // A shell that saw its child end before its own turn came would go on to the next command.
    m_host->signalGroup(m_root.pid, StopSignal::suspend);
    rememberDescendants(m_root);
    signalAll(StopSignal::suspend);
    signalAll(StopSignal::terminate);
    m_host->signalGroup(m_root.pid, StopSignal::terminate);
    signalAll(StopSignal::resume);
    m_host->signalGroup(m_root.pid, StopSignal::resume);
}

void TreeStop::signalAll(StopSignal signal) {
    for (const ProcessIdentity& process : m_descendants | std::views::reverse)
        m_host->signal(process, signal);
}

void TreeStop::terminateStrays(const std::vector<ProcessIdentity>& strays) {
    for (const ProcessIdentity& stray : strays) {
        if (isRemembered(stray.pid) || startOf(stray) < startOf(m_root))
            continue;
        m_descendants.push_back(stray);
        m_host->signal(stray, StopSignal::terminate);
    }
}

void TreeStop::killTree() {
    rememberDescendants(m_root);
    for (const ProcessIdentity& process : std::vector(m_descendants))
        rememberDescendants(process);
    signalAll(StopSignal::kill);
    m_host->signalGroup(m_root.pid, StopSignal::kill);
}

bool TreeStop::isTreeGone() const {
    return std::ranges::all_of(m_descendants,
                               [this](const ProcessIdentity& process) { return m_host->hasEnded(process); });
}

void TreeStop::rememberDescendants(const ProcessIdentity& process) {
    const auto found = descendantPIDs(process.pid, [this](std::int32_t pid) { return m_host->children(pid); });
    if (found.empty() || m_host->identity(process.pid) != process)
        return;
    for (const std::int32_t pid : found)
        if (!isRemembered(pid))
            if (const auto identity = m_host->identity(pid))
                m_descendants.push_back(*identity);
}

bool TreeStop::isRemembered(std::int32_t pid) const {
    return pid == m_root.pid || std::ranges::find(m_descendants, pid, &ProcessIdentity::pid) != m_descendants.end();
}

} // namespace torvo
