#pragma once

#include "linux/Confinement.h"
#include "platform/ProcessHost.h"

#include <cstdint>
#include <expected>

namespace torvo {

/// Starts a child as `ProcessHost::launch` promises. The child borrows this process's memory until it becomes the new
/// program, so that starting one costs the same however large this process is (vfork(2)); this thread waits meanwhile.
/// `confinement`: what the child puts on before it becomes the program, or null for none.
[[nodiscard]] std::expected<std::int32_t, LaunchError> launchChild(const LaunchRequest& request,
                                                                   const PreparedConfinement* confinement = nullptr);

} // namespace torvo
