#pragma once

#include "linux/accessibility/AccessibleReader.h"

#include <initializer_list>
#include <optional>
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

/// Waits until the view shows these items of its folder, and returns their positions, ascending; of what it does not
/// show by the deadline, those that it does. Where a view is sorted by name, only the items that are asked for are
/// looked at; reading ten thousand names takes seconds.
[[nodiscard]] std::vector<std::int32_t> awaitItems(const AccessibleReader& reader, const ViewItems& view,
                                                   const std::string& folder, const std::vector<std::string>& items);

} // namespace torvo
