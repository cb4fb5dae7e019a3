#pragma once

#include "linux/LinuxProcessHost.h"

namespace torvo::testing {

/// The processes of a machine on which nothing can be confined.
class UnconfiningHost final : public LinuxProcessHost {
  public:
    std::expected<std::int32_t, LaunchError> launch(const LaunchRequest& request) override {
        if (request.confinement != Confinement::none)
            return std::unexpected(LaunchError{"cannot confine", true});
        return LinuxProcessHost::launch(request);
    }
    bool canConfine() override { return false; }
};

} // namespace torvo::testing
