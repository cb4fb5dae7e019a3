#include "linux/filemanager/ShownNames.h"

#include "linux/GLibPointers.h"

#include <dirent.h>

#include <algorithm>
#include <memory>
#include <set>

namespace torvo {

namespace {

/// What GIO puts after a name that it had to mend.
constexpr std::string_view kMendedMark = " (invalid encoding)";

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
    while (const dirent* entry = ::readdir(open.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        const GLibPointer<char> shown(g_utf8_make_valid(name.c_str(), static_cast<gssize>(name.size())));
        const auto add = [&](std::string text) {
            const auto [at, isNew] =
                m_entries.try_emplace(std::move(text), Entry{name, entry->d_type == DT_DIR, name != shown.get()});
            if (!isNew)
                at->second.name.clear();
        };
        add(shown.get());
        if (name != shown.get())
            add(std::string(shown.get()) + std::string(kMendedMark));
    }
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

std::vector<std::int32_t> ShownNames::indices(const std::vector<std::string>& shown,
                                              const std::vector<std::string>& items) const {
    const std::set<std::string> wanted(items.begin(), items.end());
    std::vector<std::int32_t> result;
    for (std::size_t i = 0; i < shown.size(); ++i)
        if (const auto at = path(shown[i]); at && wanted.contains(*at))
            result.push_back(static_cast<std::int32_t>(i));
    return result;
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
                if (shown.starts_with('.') || (entry.isMended && !shown.ends_with(kMendedMark)))
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
