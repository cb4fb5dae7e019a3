#include "linux/Confinement.h"

#include "linux/LandlockRules.h"
#include "linux/RawSyscall.h"
#include "linux/SyscallFilter.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/close_range.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

namespace torvo {

namespace {

std::expected<std::string, std::string> makePrivateFolder() {
    std::error_code missing;
    std::filesystem::path parent = std::filesystem::temp_directory_path(missing);
    if (missing || !parent.is_absolute())
        parent = "/tmp";
    std::string folder = (parent / "torvo-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr)
        return std::unexpected("no private temporary folder in " + parent.string() + ": " + std::strerror(errno));
    return folder;
}

void removeFolder(const std::string& folder) {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

/// The filters live as long as the program: children of running launches point at them.
std::span<const sock_filter> filterFor(int landlockVersion) {
    if (landlockGuardsSignals(landlockVersion)) {
        static const auto newest = makeSyscallFilter({});
        return newest;
    }
    if (landlockGuardsTruncation(landlockVersion)) {
        static const auto middle = makeSyscallFilter({.refuseSignals = true});
        return middle;
    }
    static const auto oldest = makeSyscallFilter({.refuseSignals = true, .refuseTruncation = true});
    return oldest;
}

/// Gives up what root could do beyond files. With no_new_privs, exec does not bring it back (capabilities(7)). Reading
/// everything stays, since a listing should see what it would see unconfined.
long dropCapabilities() {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (const long error = rawSyscall(SYS_capget, &header, &sets[0]); error < 0)
        return error;
    constexpr std::uint32_t kKept = 1U << CAP_DAC_READ_SEARCH;
    sets[0] = {.effective = sets[0].effective & kKept, .permitted = sets[0].permitted & kKept, .inheritable = 0};
    sets[1] = {.effective = 0, .permitted = 0, .inheritable = 0};
    return rawSyscall(SYS_capset, &header, &sets[0]);
}

/// A crashing command leaves no core file and wakes no crash reporter: the limit 1 means just that to a reporter that
/// core_pattern pipes to, and is too small for a file (core(5)).
long refuseCoreDumps() {
    for (const rlim_t bytes : {rlim_t{1}, rlim_t{0}}) {
        const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
        const long error = rawSyscall(SYS_prlimit64, 0, RLIMIT_CORE, &limit);
        // The hard limit may already be 0.
        if (error != -EPERM)
            return error;
    }
    return -EPERM;
}

} // namespace

std::expected<PreparedConfinement, std::string> PreparedConfinement::prepare(int landlockLimit) {
    const int version = std::min(landlockVersion(), landlockLimit);
    if (version < 1)
        return std::unexpected("this kernel cannot confine a command (it has no Landlock)");
    auto folder = makePrivateFolder();
    if (!folder)
        return std::unexpected(folder.error());
    const auto ruleset = makeReadOnlyRuleset(version, *folder);
    if (!ruleset) {
        removeFolder(*folder);
        return std::unexpected(ruleset.error());
    }
    return PreparedConfinement(*ruleset, std::move(*folder), filterFor(version));
}

PreparedConfinement::PreparedConfinement(PreparedConfinement&& other) noexcept
    : m_ruleset(std::exchange(other.m_ruleset, -1)),
      m_folder(std::exchange(other.m_folder, {})),
      m_filter(other.m_filter) {}

PreparedConfinement::~PreparedConfinement() {
    if (m_ruleset < 0)
        return;
    ::close(m_ruleset);
    removeFolder(m_folder);
}

int PreparedConfinement::apply() const noexcept {
    const sock_fprog program{.len = static_cast<unsigned short>(m_filter.size()),
                             .filter = const_cast<sock_filter*>(m_filter.data())};
    long error = rawSyscall(SYS_prctl, PR_SET_NO_NEW_PRIVS, 1);
    if (error >= 0)
        error = refuseCoreDumps();
    if (error >= 0)
        error = dropCapabilities();
    if (error >= 0)
        error = rawSyscall(SYS_landlock_restrict_self, m_ruleset);
    // Not closed at once: the launcher may still have to report through a descriptor that exec does not succeed.
    if (error >= 0)
        error = rawSyscall(SYS_close_range, 3, ~0U, CLOSE_RANGE_CLOEXEC);
    // Last, since it would refuse some of the above. The flag spares the run the slow-down that older kernels put on
    // filtered processes against speculative reads: the run may read everything anyway.
    if (error >= 0)
        error = rawSyscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_SPEC_ALLOW, &program);
    return error < 0 ? static_cast<int>(-error) : 0;
}

std::vector<std::string> PreparedConfinement::environment(std::vector<std::string> inherited) const {
    constexpr std::string_view kNames[] = {"TMPDIR=", "TMPPREFIX="};
    std::erase_if(inherited, [&](const std::string& entry) {
        return std::ranges::any_of(kNames, [&](std::string_view name) { return entry.starts_with(name); });
    });
    inherited.push_back("TMPDIR=" + m_folder);
    inherited.push_back("TMPPREFIX=" + m_folder + "/zsh"); // a prefix, not a folder (zshparam(1))
    return inherited;
}

namespace {

bool tryConfinement() {
    const auto confinement = PreparedConfinement::prepare();
    const auto outside = makePrivateFolder();
    if (!confinement || !outside)
        return false;
    const std::string inner = confinement->temporaryFolder() + "/probe";
    const std::string outer = *outside + "/probe";

    const pid_t child = ::fork();
    if (child == 0) {
        const auto opens = [](const char* path, int flags) {
            return rawSyscall(SYS_openat, AT_FDCWD, path, flags | O_WRONLY, 0600);
        };
        const bool confined = confinement->apply() == 0 && opens(outer.c_str(), O_CREAT) == -EACCES &&
                              rawSyscall(SYS_fchmodat, AT_FDCWD, outside->c_str(), 0700) == -EPERM &&
                              rawSyscall(SYS_socket, AF_UNIX, SOCK_STREAM) == -EPERM &&
                              opens(inner.c_str(), O_CREAT) >= 0 && opens("/dev/null", 0) >= 0;
        ::_exit(confined ? 0 : 1);
    }
    int status = -1;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const bool untouched = ::access(outer.c_str(), F_OK) != 0;
    removeFolder(*outside);
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 && untouched;
}

} // namespace

bool confinementWorks() {
    static const bool works = tryConfinement();
    return works;
}

} // namespace torvo
