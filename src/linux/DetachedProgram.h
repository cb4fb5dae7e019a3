#pragma once

#include <expected>
#include <string>
#include <vector>

namespace torvo {

/// Starts a program that has its own life: in a session of its own, without our streams or descriptors, and nobody's
/// to wait for. `command`: the program, by its path or by a name to be found on PATH, and its arguments; no shell reads
/// them. The error is one line. Callable from any thread.
[[nodiscard]] std::expected<void, std::string> startDetached(const std::vector<std::string>& command);

} // namespace torvo
