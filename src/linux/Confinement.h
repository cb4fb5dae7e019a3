#pragma once

#include <linux/filter.h>

#include <expected>
#include <span>
#include <string>
#include <vector>

namespace torvo {

/// Everything that one read-only run needs, made ready in the parent so that the child only has to put it on.
///
/// A confined process reads, computes and starts programs as usual, writes to the descriptors it was given, to the null
/// device and to plain files in a private temporary folder, and changes nothing else: no file, no attribute, no other
/// process, no network, no kernel object that outlives it. Four walls stand behind each other: Landlock, a system call
/// filter, no new privileges, and no capabilities but reading everything (for a run by root).
///
/// Landlock of any version is enough (Linux 5.13). What an older version leaves open, the filter closes: truncation
/// before version 3, signals before version 6 (a confined process can then signal nobody, not even its own children).
///
/// What a harmless command may notice: the private details of outside processes (environment, open files) cannot be
/// read; names of users and hosts that only a name service knows stay numbers, since asking it takes a socket; where
/// signals are refused, a program that catches SIGPIPE complains of the broken pipe instead of ending by it. What no
/// wall can stop: opening a device or a named pipe for reading has whatever effect reading has there.
///
/// The launcher's duties:
///  - the child is a vfork child or a clone with its own descriptor table (no CLONE_FILES), and `apply` is its last
///    step before exec; a child in which `apply` failed must not go on;
///  - the child leads a process group of its own before `apply`, since it can neither leave nor change it afterwards.
///    When the child has ended, and before it is reaped, the group is killed: that reaches everything it left behind;
///  - the descriptors 0 to 2 are all that the child keeps. They are opened for this run alone and carry no right that
///    the run should not have: a descriptor that is open for writing stays so;
///  - the object outlives the run.
class PreparedConfinement {
  public:
    /// Makes the private folder, the ruleset and the filter; one line on what is missing when the machine cannot
    /// confine. `landlockLimit`: do as if the kernel's Landlock were no newer than this version.
    [[nodiscard]] static std::expected<PreparedConfinement, std::string> prepare(int landlockLimit = kNoLimit);
    static constexpr int kNoLimit = 1000;

    PreparedConfinement(PreparedConfinement&& other) noexcept;
    PreparedConfinement& operator=(PreparedConfinement&&) = delete;
    PreparedConfinement(const PreparedConfinement&) = delete;
    /// Removes the private folder with everything in it.
    ~PreparedConfinement();

    /// Confines the calling thread, in the child between fork and exec; descriptors above 2 close on exec. Only raw
    /// system calls: no allocation, no lock, no errno. Returns 0, or the error number of the step that failed.
    [[nodiscard]] int apply() const noexcept;

    /// `inherited` (NAME=value strings) with the variables that name a place for temporary files led to the private
    /// folder.
    [[nodiscard]] std::vector<std::string> environment(std::vector<std::string> inherited) const;

    [[nodiscard]] const std::string& temporaryFolder() const { return m_folder; }

  private:
    PreparedConfinement(int ruleset, std::string folder, std::span<const sock_filter> filter)
        : m_ruleset(ruleset), m_folder(std::move(folder)), m_filter(filter) {}

    int m_ruleset = -1;
    std::string m_folder;
    std::span<const sock_filter> m_filter;
};

/// Whether this machine really confines: a child puts a confinement on and finds writing, changing a mode and opening a
/// socket refused, but its private folder and the null device writable. Tried out once, at the first call.
[[nodiscard]] bool confinementWorks();

} // namespace torvo
