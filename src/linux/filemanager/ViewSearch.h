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

/// A view's item names, and the waiting until the items that are to be selected are among them.
/// `names`: reads the names of all the items, in the view's order. Returns the positions of those that are there at
/// the end, which is when all are, or when the view has had a fair time.
[[nodiscard]] std::vector<std::int32_t> awaitItems(const AccessibleReader& reader,
                                                   const std::function<std::vector<std::string>()>& names,
                                                   const std::string& folder, const std::vector<std::string>& items);

} // namespace torvo
