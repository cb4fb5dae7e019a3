#pragma once

#include "platform/ProcessHost.h"

namespace torvo {

/// The processes of a Linux kernel, by its system calls and /proc (proc(5)).
class LinuxProcessHost : public ProcessHost {
  public:
    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) override;
    bool canConfine() override;
    int exitNotice(std::int32_t child) override;
    std::int32_t reap(std::int32_t child) override;

    std::optional<ProcessIdentity> identity(std::int32_t pid) override;
    bool hasEnded(const ProcessIdentity& process) override;
    std::vector<std::int32_t> children(std::int32_t pid) override;
    std::vector<ProcessIdentity> holders(std::span<const int> pipes) override;

    void signal(const ProcessIdentity& process, StopSignal signal) override;
    void signalGroup(std::int32_t child, StopSignal signal) override;
};

} // namespace torvo
