#pragma once

#include "linux/LinuxProcessHost.h"

#include <atomic>

namespace torvo::testing {

/// How far a machine gets with confining a command.
enum class Confining { works, fails, isKnownToFail };

/// The processes of a machine on which nothing can be confined, or only as long as the test wants.
class UnconfiningHost final : public LinuxProcessHost {
  public:
    explicit UnconfiningHost(Confining initially = Confining::isKnownToFail) : confining(initially) {}

    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) override {
        if (confining != Confining::works && request.confinement != Confinement::none)
            return std::unexpected(LaunchError{"cannot confine", true});
        return LinuxProcessHost::launch(request);
    }
    bool canConfine() override { return confining != Confining::isKnownToFail && LinuxProcessHost::canConfine(); }

    std::atomic<Confining> confining;
};

} // namespace torvo::testing
