#include "Search.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace torvo::mdfind {

namespace {

constexpr std::size_t kBufferSize = std::size_t{128} << 10;

/// What getdents64(2) fills its buffer with.
struct KernelEntry {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t size;
    std::uint8_t type;
    char name[1];
};

bool isFolder(int parent, const char* name, std::uint8_t type) {
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    struct stat status{};
    return ::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

Search::Search(const Condition& condition, Found found)
    : m_condition(condition), m_found(std::move(found)), m_buffer(kBufferSize) {}

bool Search::walk(const std::string& folder) {
    m_path = folder;
    while (m_path.ends_with('/'))
        m_path.pop_back();
    return walkFolder();
}

bool Search::walkFolder() {
    // Only the folder that was asked for may be reached through a link: the others come from a listing that tells
    // links and folders apart. The path is opened from its root, so that depth costs no descriptors.
    const int folder = ::open(m_path.empty() ? "/" : m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    if (folder < 0)
        return true;
    struct stat status{};
    if (::fstat(folder, &status) != 0 || !m_walked.emplace(status.st_dev, status.st_ino).second) {
        ::close(folder);
        return true;
    }
    std::string names;
    std::vector<Entry> entries;
    list(folder, names, entries);
    ::close(folder);
    const auto nameOf = [&](const Entry& entry) { return std::string_view(names).substr(entry.name, entry.length); };
    std::ranges::sort(entries, {}, nameOf);
    const std::size_t length = m_path.size();
    for (const Entry& entry : entries) {
        m_path.resize(length);
        m_path += '/';
        m_path += nameOf(entry);
        if ((entry.fits && !m_found(m_path)) || (entry.isFolder && !walkFolder()))
            return false;
    }
    m_path.resize(length);
    return true;
}

/// Collects what fits and the folders to walk; the rest is not kept.
void Search::list(int folder, std::string& names, std::vector<Entry>& entries) {
    while (true) {
        const long filled = ::syscall(SYS_getdents64, folder, m_buffer.data(), m_buffer.size());
        if (filled <= 0)
            return;
        for (long at = 0; at < filled;) {
            // The kernel aligns its entries.
            const auto* entry = static_cast<const KernelEntry*>(static_cast<const void*>(m_buffer.data() + at));
            const char* nameStart = m_buffer.data() + at + offsetof(KernelEntry, name);
            at += entry->size;
            if (*nameStart == '.')
                continue;
            const std::string_view name(nameStart);
            const bool folderEntry = isFolder(folder, nameStart, entry->type);
            Candidate candidate(folder, name, folderEntry);
            const bool fits = m_condition.holdsFor(candidate);
            if (!fits && !folderEntry)
                continue;
            entries.push_back({names.size(), static_cast<std::uint32_t>(name.size()), folderEntry, fits});
            names += name;
        }
    }
}

} // namespace torvo::mdfind
