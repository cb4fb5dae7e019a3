#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The names in a folder, as file managers show them: a name that is not UTF-8 is shown with U+FFFD in place of what
/// cannot be decoded.
class ShownNames {
  public:
    /// Lists the folder; one that cannot be read is empty.
    explicit ShownNames(const std::string& folder);

    /// The path of the item that is shown under that name; absent when there is none, or more than one.
    [[nodiscard]] std::optional<std::string> path(std::string_view shown) const;
    /// The paths of all; absent when one of them is not known for certain. Only for a view that shows nothing but items
    /// of this folder, under their own names.
    [[nodiscard]] std::optional<std::vector<std::string>> paths(const std::vector<std::string>& shown) const;

    /// The paths of everything that a view shows, in its order, from all its names. Absent unless these are the items
    /// of the folder, each of them once: items of opened subfolders and what a search found have names as well, and a
    /// starter (".desktop") is shown under any name.
    [[nodiscard]] std::optional<std::vector<std::string>> pathsOfView(const std::vector<std::string>& shown) const;
    /// The paths of what a view of `count` items, with names `shown` at these positions, shows there. Absent unless the
    /// view is sorted by name, so that the positions agree; only for views without a filter.
    [[nodiscard]] std::optional<std::vector<std::string>>
    pathsAt(std::size_t count, const std::vector<std::int32_t>& positions, const std::vector<std::string>& shown) const;

    /// Where in a list of shown names the items are; those that are not there are left out. Absent for one that cannot
    /// be told from others that are shown alike.
    [[nodiscard]] std::map<std::string, std::optional<std::int32_t>>
    positions(const std::vector<std::string>& shown, const std::vector<std::string>& items) const;

    /// The shown names without the hidden ones, in the orders in which views that are sorted by name may have them:
    /// with numbers by value or not, with the folders first or among the files.
    [[nodiscard]] std::vector<std::vector<std::string>> possibleOrders() const;

    /// Whether the item is one that file managers hide unless they are told to show such items.
    [[nodiscard]] bool isHidden(const std::string& item) const;
    /// Whether a view of that many items may show hidden ones.
    [[nodiscard]] bool showsHidden(std::size_t count) const { return count > m_plainCount; }

  private:
    /// Which file managers show an item: all; all but some; only those that are told to show hidden ones.
    enum class Visibility { plain, backup, hidden };
    struct Entry {
        std::string name;
        bool isFolder = false;
        bool isMended = false;
        Visibility visibility = Visibility::plain;
    };

    void readHiddenList();
    [[nodiscard]] Visibility visibilityOf(const std::string& name) const;

    std::string m_folder;
    /// Listed in the folder's file ".hidden", as GIO and KIO read it.
    std::set<std::string> m_listedAsHidden;
    std::size_t m_plainCount = 0;
    std::size_t m_backupCount = 0;
    std::size_t m_hiddenCount = 0;
    bool m_hasStarters = false;
    /// By shown name; the name is empty where two entries are shown alike.
    std::map<std::string, Entry, std::less<>> m_entries;
};

} // namespace torvo
