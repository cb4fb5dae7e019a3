#pragma once

#include <functional>

namespace torvo::testing {

/// What a task has to do without.
struct Restrictions {
    /// No file system knows RENAME_NOREPLACE.
    bool withoutSafeRename = false;
    /// It is not root, but a user without any rights. Only root can become one.
    bool asNobody = false;
};

/// The user and group that such a task is.
constexpr unsigned kNobody = 65534;

/// Runs a task on a thread of its own, for which alone the restrictions hold.
void runRestricted(const Restrictions& restrictions, const std::function<void()>& task);

} // namespace torvo::testing
