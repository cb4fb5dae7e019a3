#pragma once

#include "linux/Confinement.h"
#include "platform/ProcessHost.h"

#include <map>
#include <mutex>

namespace torvo {

/// The processes of a Linux kernel, by its system calls and /proc (proc(5)).
class LinuxProcessHost : public ProcessHost {
  public:
    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) override;
    bool canConfine() override;
    void childHasEnded(std::int32_t child) override;
    int exitNotice(std::int32_t child) override;
    std::int32_t reap(std::int32_t child) override;

    std::optional<ProcessIdentity> identity(std::int32_t pid) override;
    bool hasEnded(const ProcessIdentity& process) override;
    std::vector<std::int32_t> children(std::int32_t pid) override;
    std::vector<ProcessIdentity> holders(std::span<const int> pipes) override;

    void signal(const ProcessIdentity& process, StopSignal signal) override;
    void signalGroup(std::int32_t child, StopSignal signal) override;

  private:
    std::mutex m_mutex;
    /// The confinements of the children that are not reaped yet, by process number.
    std::map<std::int32_t, PreparedConfinement> m_confined;
};

} // namespace torvo
