#include "linux/LandlockRules.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace torvo {

namespace {

// The kernel headers of the build machine may be older than the kernel that runs: what they lack is written out.
constexpr std::uint64_t kTruncate = 1ULL << 14;
constexpr std::uint64_t kDeviceControl = 1ULL << 15;
constexpr std::uint64_t kBindTcp = 1ULL << 0;
constexpr std::uint64_t kConnectTcp = 1ULL << 1;
constexpr std::uint64_t kScopeAbstractSockets = 1ULL << 0;
constexpr std::uint64_t kScopeSignals = 1ULL << 1;

struct RulesetAttributes {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

RulesetAttributes everythingThatWrites(int version) {
    RulesetAttributes attributes;
    attributes.files = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
                       LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                       LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
                       LANDLOCK_ACCESS_FS_MAKE_SYM;
    if (version >= 2)
        attributes.files |= LANDLOCK_ACCESS_FS_REFER;
    if (landlockGuardsTruncation(version))
        attributes.files |= kTruncate;
    if (version >= 4)
        attributes.network = kBindTcp | kConnectTcp;
    if (version >= 5)
        attributes.files |= kDeviceControl;
    if (landlockGuardsSignals(version))
        attributes.scopes = kScopeAbstractSockets | kScopeSignals;
    return attributes;
}

std::string failure(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

std::expected<void, std::string> allowBeneath(int ruleset, const std::string& path, std::uint64_t rights) {
    const int parent = ::open(path.c_str(), O_PATH | O_CLOEXEC | O_NOFOLLOW);
    if (parent < 0)
        return std::unexpected(failure(path.c_str()));
    const landlock_path_beneath_attr rule{.allowed_access = rights, .parent_fd = parent};
    const long added = ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    const std::string problem = added == 0 ? "" : failure("landlock_add_rule");
    ::close(parent);
    if (added != 0)
        return std::unexpected(problem);
    return {};
}

} // namespace

int landlockVersion() {
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, std::size_t{0}, LANDLOCK_CREATE_RULESET_VERSION);
    return version > 0 ? static_cast<int>(version) : 0;
}

std::expected<int, std::string> makeReadOnlyRuleset(int version, const std::string& writableFolder) {
    const RulesetAttributes attributes = everythingThatWrites(version);
    // A kernel that knows fewer members accepts the longer struct as long as the unknown ones are zero.
    const int ruleset =
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, std::uint32_t{0}));
    if (ruleset < 0)
        return std::unexpected(failure("landlock_create_ruleset"));

    const std::uint64_t writing = LANDLOCK_ACCESS_FS_WRITE_FILE | (attributes.files & kTruncate);
    auto allowed = allowBeneath(ruleset, "/dev/null", writing | (attributes.files & kDeviceControl));
    if (allowed)
        allowed = allowBeneath(ruleset, writableFolder,
                               writing | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REMOVE_FILE);
    if (!allowed) {
        ::close(ruleset);
        return std::unexpected(allowed.error());
    }
    return ruleset;
}

} // namespace torvo
