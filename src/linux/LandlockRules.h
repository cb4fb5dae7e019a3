#pragma once

#include <expected>
#include <string>

namespace torvo {

/// The version of the kernel's Landlock interface; 0 when the kernel has none or it is switched off.
[[nodiscard]] int landlockVersion();

/// What a Landlock version takes care of, so that the system call filter can cover the rest.
/// Source: the kernel's userspace-api/landlock, "Previous limitations".
[[nodiscard]] constexpr bool landlockGuardsTruncation(int version) {
    return version >= 3;
}
[[nodiscard]] constexpr bool landlockGuardsSignals(int version) {
    return version >= 6;
}

/// A ruleset that takes away every write right which `version` (at most `landlockVersion()`) knows, binding and
/// connecting over TCP, and reaching abstract sockets and processes outside. Left over are writing the null device,
/// and in `writableFolder` itself plain files: making, writing and removing them. Folders, links, pipes and devices
/// cannot be made there, so its content stays one level deep.
/// Returns a descriptor for landlock_restrict_self(2), closed on exec, which the caller closes; or one line saying what
/// failed.
[[nodiscard]] std::expected<int, std::string> makeReadOnlyRuleset(int version, const std::string& writableFolder);

} // namespace torvo
