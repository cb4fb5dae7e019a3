#include "execution/FolderSnapshot.h"

#include <dirent.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string_view>

namespace torvo {

namespace {

using NameLength = std::uint16_t;

/// Adds a name behind the others; without memory for it, it is left out.
void appendName(GrowingBuffer& names, std::string_view name) {
    const auto length = static_cast<NameLength>(name.size());
    const auto room = names.prepare(sizeof length + name.size());
    if (room.empty())
        return;
    std::memcpy(room.data(), &length, sizeof length);
    std::memcpy(room.data() + sizeof length, name.data(), name.size());
    names.commit(sizeof length + name.size());
}

/// Walks through names that `appendName` put in a row.
class NameCursor {
  public:
    explicit NameCursor(std::string_view names, std::size_t position = 0) : m_names(names), m_at(position) {}

    [[nodiscard]] bool isAtEnd() const { return m_at >= m_names.size(); }
    [[nodiscard]] std::string_view name() const {
        NameLength length = 0;
        std::memcpy(&length, m_names.data() + m_at, sizeof length);
        return {m_names.data() + m_at + sizeof length, length};
    }
    [[nodiscard]] std::size_t position() const { return m_at; }
    void advance() { m_at += sizeof(NameLength) + name().size(); }

    /// Moves behind `name` if that is the next name or one soon after it.
    bool skipPast(std::string_view name) {
        constexpr int kLookAhead = 16;
        NameCursor ahead = *this;
        for (int i = 0; i < kLookAhead && !ahead.isAtEnd(); ++i) {
            const bool isFound = ahead.name() == name;
            ahead.advance();
            if (isFound) {
                *this = ahead;
                return true;
            }
        }
        return false;
    }

  private:
    std::string_view m_names;
    std::size_t m_at = 0;
};

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

template <typename Visit>
void forEachEntry(const FileURL& folder, Visit visit) {
    const std::unique_ptr<DIR, FolderCloser> open(::opendir(folder.path().c_str()));
    if (open == nullptr)
        return;
    while (const dirent* const entry = ::readdir(open.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            visit(name);
    }
}

/// A flat hash table of names that lie in a row.
class NameTable {
  public:
    explicit NameTable(std::string_view names) : m_names(names) {
        std::size_t count = 0;
        for (NameCursor cursor(names); !cursor.isAtEnd(); cursor.advance())
            ++count;
        m_slots.assign(std::bit_ceil(count * 2 + 1), kFree);
        for (NameCursor cursor(names); !cursor.isAtEnd(); cursor.advance())
            m_slots[slotFor(cursor.name())] = cursor.position();
        m_count = count;
    }

    [[nodiscard]] bool isEmpty() const { return m_count == 0; }
    void remove(std::string_view name) {
        std::size_t& position = m_slots[slotFor(name)];
        if (position == kFree)
            return;
        position = kRemoved;
        --m_count;
    }
    template <typename Visit>
    void forEach(Visit visit) const {
        for (const std::size_t position : m_slots)
            if (position != kFree && position != kRemoved)
                visit(NameCursor(m_names, position).name());
    }

  private:
    static constexpr std::size_t kFree = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kRemoved = kFree - 1;

    /// The slot that holds the name, else the free one where it would go.
    [[nodiscard]] std::size_t slotFor(std::string_view name) const {
        const std::size_t mask = m_slots.size() - 1;
        std::size_t slot = std::hash<std::string_view>{}(name)&mask;
        while (m_slots[slot] != kFree &&
               (m_slots[slot] == kRemoved || NameCursor(m_names, m_slots[slot]).name() != name))
            slot = (slot + 1) & mask;
        return slot;
    }

    std::string_view m_names;
    std::vector<std::size_t> m_slots;
    std::size_t m_count = 0;
};

} // namespace

std::vector<FileURL> watchedFolders(const std::vector<FileURL>& selection, const std::optional<FileURL>& folder) {
    std::vector<FileURL> folders;
    folders.reserve(selection.size() + 1);
    for (const FileURL& item : selection)
        folders.push_back(item.deletingLastPathComponent().standardized());
    if (folder)
        folders.push_back(folder->standardized());
    std::ranges::sort(folders);
    const auto repeated = std::ranges::unique(folders);
    folders.erase(repeated.begin(), repeated.end());
    return folders;
}

FolderSnapshot FolderSnapshot::of(const std::vector<FileURL>& folders) {
    FolderSnapshot snapshot;
    for (const FileURL& folder : folders) {
        Listing& listing = snapshot.m_listings.emplace_back(folder, GrowingBuffer());
        forEachEntry(folder, [&listing](std::string_view name) { appendName(listing.names, name); });
    }
    return snapshot;
}

std::vector<FileURL> FolderSnapshot::newFiles() const {
    std::vector<FileURL> found;
    for (const Listing& listing : m_listings) {
        // File systems list a folder in much the same order each time: nearly every name is the next one of the earlier
        // listing, and only the few others need looking up.
        NameCursor next(listing.names.bytes());
        GrowingBuffer unmatched;
        forEachEntry(listing.folder, [&](std::string_view name) {
            if (!next.skipPast(name))
                appendName(unmatched, name);
        });
        NameTable unknown(unmatched.bytes());
        for (NameCursor known(listing.names.bytes()); !known.isAtEnd() && !unknown.isEmpty(); known.advance())
            unknown.remove(known.name());
        unknown.forEach([&](std::string_view name) { found.push_back(listing.folder.appendingPath(name)); });
    }
    std::ranges::sort(found);
    return found;
}

} // namespace torvo
