#include "linux/filemanager/ShownNames.h"

#include "linux/GLibPointers.h"

#include <dirent.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

namespace torvo {

namespace {

/// What GIO puts after a name that it had to mend.
constexpr std::string_view kMendedMark = " (invalid encoding)";

constexpr std::uintmax_t kLargestHiddenList = std::uintmax_t{1} << 20U;

std::string withSlash(std::string folder) {
    if (!folder.ends_with('/'))
        folder += '/';
    return folder;
}

} // namespace

ShownNames::ShownNames(const std::string& folder) : m_folder(withSlash(folder)) {
    const auto close = [](DIR* open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> open(::opendir(folder.c_str()));
    if (open == nullptr)
        return;
    readHiddenList();
    while (const dirent* entry = ::readdir(open.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        const auto visibility = visibilityOf(name);
        ++(visibility == Visibility::plain    ? m_plainCount
           : visibility == Visibility::backup ? m_backupCount
                                              : m_hiddenCount);
        m_hasStarters = m_hasStarters || name.ends_with(".desktop");
        const GLibPointer<char> shown(g_utf8_make_valid(name.c_str(), static_cast<gssize>(name.size())));
        const auto add = [&](std::string text) {
            const auto [at, isNew] = m_entries.try_emplace(
                std::move(text), Entry{name, entry->d_type == DT_DIR, name != shown.get(), visibility});
            if (!isNew)
                at->second.name.clear();
        };
        add(shown.get());
        if (name != shown.get())
            add(std::string(shown.get()) + std::string(kMendedMark));
    }
}

void ShownNames::readHiddenList() {
    const auto path = m_folder + ".hidden";
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) || std::filesystem::file_size(path, error) > kLargestHiddenList)
        return;
    std::ifstream list(path, std::ios::binary);
    for (std::string name; std::getline(list, name);)
        m_listedAsHidden.insert(name);
}

ShownNames::Visibility ShownNames::visibilityOf(const std::string& name) const {
    if (name.starts_with('.') || m_listedAsHidden.contains(name))
        return Visibility::hidden;
    return name.ends_with('~') ? Visibility::backup : Visibility::plain;
}

bool ShownNames::isHidden(const std::string& item) const {
    return visibilityOf(item.substr(item.rfind('/') + 1)) != Visibility::plain;
}

std::optional<std::string> ShownNames::path(std::string_view shown) const {
    const auto found = m_entries.find(shown);
    if (found == m_entries.end() || found->second.name.empty())
        return std::nullopt;
    return m_folder + found->second.name;
}

std::optional<std::vector<std::string>> ShownNames::paths(const std::vector<std::string>& shown) const {
    std::vector<std::string> result;
    for (const auto& name : shown) {
        auto found = path(name);
        if (!found)
            return std::nullopt;
        result.push_back(*std::move(found));
    }
    return result;
}

std::optional<std::vector<std::string>> ShownNames::pathsOfView(const std::vector<std::string>& shown) const {
    std::vector<std::string> result;
    std::set<std::string_view> seen;
    std::size_t plain = 0;
    std::size_t hidden = 0;
    for (const auto& name : shown) {
        const auto found = m_entries.find(name);
        if (found == m_entries.end() || found->second.name.empty() || !seen.insert(found->second.name).second)
            return std::nullopt;
        plain += found->second.visibility == Visibility::plain ? 1 : 0;
        hidden += found->second.visibility == Visibility::hidden ? 1 : 0;
        result.push_back(m_folder + found->second.name);
    }
    if (m_hasStarters || plain != m_plainCount || (hidden != 0 && hidden != m_hiddenCount))
        return std::nullopt;
    return result;
}

std::optional<std::vector<std::string>> ShownNames::pathsAt(std::size_t count,
                                                            const std::vector<std::int32_t>& positions,
                                                            const std::vector<std::string>& shown) const {
    // With some left out, an opened subfolder could make the number come out right.
    if (m_hasStarters || m_backupCount != 0 || !m_listedAsHidden.empty() || count != m_plainCount ||
        positions.size() != shown.size())
        return std::nullopt;
    for (const auto& order : possibleOrders()) {
        const auto isThere = [&](std::int32_t position, const std::string& name) {
            return static_cast<std::size_t>(position) < order.size() &&
                   order[static_cast<std::size_t>(position)] == name;
        };
        if (std::ranges::equal(positions, shown, isThere))
            return paths(shown);
    }
    return std::nullopt;
}

std::map<std::string, std::optional<std::int32_t>> ShownNames::positions(const std::vector<std::string>& shown,
                                                                         const std::vector<std::string>& items) const {
    const std::set<std::string> wanted(items.begin(), items.end());
    std::map<std::string, std::optional<std::int32_t>> found;
    for (std::size_t i = 0; i < shown.size(); ++i)
        if (auto at = path(shown[i]); at && wanted.contains(*at))
            if (const auto [known, isNew] = found.try_emplace(*std::move(at), static_cast<std::int32_t>(i)); !isNew)
                known->second.reset();
    return found;
}

std::vector<std::vector<std::string>> ShownNames::possibleOrders() const {
    struct Sorted {
        bool isAfter = false;
        std::string key;
        std::string shown;
        auto operator<=>(const Sorted&) const = default;
    };
    std::vector<std::vector<std::string>> orders;
    for (const auto collate : {g_utf8_collate_key_for_filename, g_utf8_collate_key}) {
        for (const bool foldersFirst : {true, false}) {
            std::vector<Sorted> sorted;
            for (const auto& [shown, entry] : m_entries) {
                if (entry.visibility == Visibility::hidden || (entry.isMended && !shown.ends_with(kMendedMark)))
                    continue;
                const GLibPointer<char> key(collate(shown.c_str(), static_cast<gssize>(shown.size())));
                sorted.push_back({foldersFirst && !entry.isFolder, key.get(), shown});
            }
            std::ranges::sort(sorted);
            std::ranges::transform(sorted, std::back_inserter(orders.emplace_back()), &Sorted::shown);
        }
    }
    return orders;
}

} // namespace torvo
