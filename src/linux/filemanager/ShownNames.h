#pragma once

#include <cstdint>
#include <map>
#include <optional>
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
    /// The paths of all; absent when one of them is not known for certain.
    [[nodiscard]] std::optional<std::vector<std::string>> paths(const std::vector<std::string>& shown) const;

    /// Where in a list of shown names the items are; those that are not there are left out. Ascending.
    [[nodiscard]] std::vector<std::int32_t> indices(const std::vector<std::string>& shown,
                                                    const std::vector<std::string>& items) const;

    /// The shown names without the hidden ones, in the orders in which views that are sorted by name may have them:
    /// with numbers by value or not, with the folders first or among the files.
    [[nodiscard]] std::vector<std::vector<std::string>> possibleOrders() const;

  private:
    struct Entry {
        std::string name;
        bool isFolder = false;
        bool isMended = false;
    };

    std::string m_folder;
    /// By shown name; the name is empty where two entries are shown alike.
    std::map<std::string, Entry, std::less<>> m_entries;
};

} // namespace torvo
