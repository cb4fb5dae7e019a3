#pragma once

#include "Query.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvo::mdfind {

/// Walks folders and hands on the path of every file and folder that fits, in the order of the bytes of their names,
/// each folder before what is in it. Hidden ones are left out, symbolic links are not followed, and folders that
/// cannot be read count as empty.
class Search {
  public:
    /// Gets an absolute path; false ends the search.
    using Found = std::function<bool(std::string_view path)>;

    Search(const Condition& condition, Found found);

    /// `folder`: an absolute path. A folder that an earlier walk went through is not walked again. False when `found`
    /// ended the search.
    bool walk(const std::string& folder);

  private:
    struct Entry {
        std::size_t name;
        std::uint32_t length;
        bool isFolder;
        bool fits;
    };

    bool walkFolder();
    void list(int folder, std::string& names, std::vector<Entry>& entries);

    const Condition& m_condition;
    Found m_found;
    /// The folder being walked; one buffer for the whole walk.
    std::string m_path;
    std::vector<char> m_buffer;
    std::set<std::pair<std::uint64_t, std::uint64_t>> m_walked;
};

} // namespace torvo::mdfind
