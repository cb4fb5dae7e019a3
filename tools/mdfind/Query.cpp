#include "Query.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace torvo::mdfind {

namespace {

bool compare(double left, Comparison comparison, double right) {
    switch (comparison) {
    case Comparison::equal:
        return left == right;
    case Comparison::unequal:
        return left != right;
    case Comparison::less:
        return left < right;
    case Comparison::lessOrEqual:
        return left <= right;
    case Comparison::greater:
        return left > right;
    case Comparison::greaterOrEqual:
        return left >= right;
    }
    return false;
}

struct Evaluator {
    Candidate& file;

    bool operator()(const Condition::All& all) const {
        return std::ranges::all_of(all.conditions, [&](const Condition& each) { return each.holdsFor(file); });
    }
    bool operator()(const Condition::Any& any) const {
        return std::ranges::any_of(any.conditions, [&](const Condition& each) { return each.holdsFor(file); });
    }
    bool operator()(const Condition::Not& inverse) const { return !inverse.condition.front().holdsFor(file); }
    bool operator()(const NameContains& wanted) const {
        return foldedName({.ignoresCase = true}).find(wanted.text) != std::string::npos;
    }
    bool operator()(const NameMatches& wanted) const {
        return matchesPattern(foldedName(wanted.folding), wanted.pattern);
    }
    bool operator()(const KindMatches& wanted) const {
        return matchesPattern(folded(kindDescription(file.name(), file.isFolder()), {.ignoresCase = true}),
                              wanted.pattern);
    }
    bool operator()(const HasType& wanted) const {
        if (!wanted.type.extensions.empty())
            return !file.isFolder() && wanted.type.extensions.contains(" " + lowerExtension(file.name()) + " ");
        // A type that takes everything takes files of unknown kind too.
        const bool isGeneral = wanted.type.kinds >> 16 != 0;
        const KindSet kinds = kindsOf(file.name(), file.isFolder());
        return (kinds & wanted.type.kinds) != 0 || (isGeneral && !file.isFolder());
    }
    bool operator()(const HasSize& wanted) const {
        const struct statx* status = file.status();
        return status != nullptr && !file.isFolder() &&
               compare(static_cast<double>(status->stx_size), wanted.comparison, wanted.bytes);
    }
    bool operator()(const HasTime& wanted) const {
        const struct statx* status = file.status();
        if (status == nullptr)
            return false;
        const bool knowsCreation = (status->stx_mask & STATX_BTIME) != 0;
        const statx_timestamp& time = wanted.which == HasTime::Which::used                       ? status->stx_atime
                                      : wanted.which == HasTime::Which::created && knowsCreation ? status->stx_btime
                                                                                                 : status->stx_mtime;
        return compare(static_cast<double>(time.tv_sec) + time.tv_nsec * 1e-9, wanted.comparison, wanted.seconds);
    }

    const std::string& foldedName(Folding folding) const {
        static std::string buffer;
        foldInto(buffer, file.name(), folding);
        return buffer;
    }
};

} // namespace

const struct statx* Candidate::status() {
    if (!std::exchange(m_wasAsked, true)) {
        m_status.emplace();
        if (::statx(m_folder, m_name.data(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_BASIC_STATS | STATX_BTIME,
                    &*m_status) != 0)
            m_status.reset();
    }
    return m_status ? &*m_status : nullptr;
}

bool Condition::holdsFor(Candidate& file) const {
    return std::visit(Evaluator{file}, value);
}

} // namespace torvo::mdfind
