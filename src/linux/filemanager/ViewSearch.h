#pragma once

#include "linux/accessibility/AccessibleReader.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvo {

/// The first visible object of one of these roles below `root`; menus and scroll bars are not looked into.
[[nodiscard]] std::optional<AccessibleObject> findShown(const AccessibleReader& reader, const AccessibleObject& root,
                                                        std::initializer_list<AccessibleRole> roles);

/// The first object of that role below `root`, visible or not, with none of these roles above it.
[[nodiscard]] std::optional<AccessibleObject> findBelow(const AccessibleReader& reader, const AccessibleObject& root,
                                                        AccessibleRole role,
                                                        std::initializer_list<AccessibleRole> notBelow);

/// The children of one role, in order.
[[nodiscard]] std::vector<AccessibleNode> childrenOfRole(const AccessibleReader& reader, const AccessibleObject& object,
                                                         AccessibleRole role);

/// The position of the item with that shortcut ("ctrl+c"); absent when there is none.
[[nodiscard]] std::optional<std::size_t>
itemWithShortcut(const AccessibleReader& reader, const std::vector<AccessibleObject>& items, std::string_view shortcut);

/// The items of a view, by their positions.
struct ViewItems {
    std::function<std::int32_t()> count;
    /// The names at these positions.
    std::function<std::vector<std::string>(const std::vector<std::int32_t>& positions)> names;
};

/// Where among these the selected ones are.
[[nodiscard]] std::vector<std::int32_t> selectedPositions(const std::vector<AccessibleNode>& nodes);

/// The paths of what a view shows at these positions, in their order; absent unless it is certain that the names there
/// are those of the folder's own items. `hasFilter`: whether its file manager has views that leave some of them out.
[[nodiscard]] std::optional<std::vector<std::string>> certainPaths(const ViewItems& view, const std::string& folder,
                                                                   const std::vector<std::int32_t>& positions,
                                                                   bool hasFilter);

/// Whether it is worth waiting for items that a view does not show yet.
class ComingItems {
  public:
    ComingItems(std::string folder, const std::vector<std::string>& wanted, Deadline deadline);

    /// Those of the folder.
    [[nodiscard]] const std::vector<std::string>& items() const { return m_items; }
    /// To be asked after each look at the view: how many items it has, and where it shows the wanted ones.
    using Found = std::map<std::string, std::optional<std::int32_t>>;
    [[nodiscard]] bool mayCome(std::int32_t count, const Found& found);

  private:
    std::string m_folder;
    std::vector<std::string> m_items;
    Deadline m_lastLook;
    std::int32_t m_count = -1;
    Deadline m_changed;
};

/// The known positions, ascending.
[[nodiscard]] std::vector<std::int32_t> knownPositions(const ComingItems::Found& found);

/// Waits until the view shows these items of its folder, and returns their positions, ascending; of what it does not
/// come to show, those that it does. Only what is new is waited for: file managers look for new files a few times a
/// second, and leave out what is hidden or does not match a filter. Where a view is sorted by name, only the items that
/// are asked for are looked at; reading ten thousand names takes seconds.
[[nodiscard]] std::vector<std::int32_t> awaitItems(const AccessibleReader& reader, const ViewItems& view,
                                                   const std::string& folder, const std::vector<std::string>& items);

} // namespace torvo
