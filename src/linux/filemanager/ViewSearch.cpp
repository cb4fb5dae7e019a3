#include "linux/filemanager/ViewSearch.h"

#include "linux/filemanager/ShownNames.h"

#include <algorithm>
#include <thread>

namespace torvo {

namespace {

using Visit = AccessibleReader::Visit;

/// File managers look for new files a few times a second.
constexpr auto kPause = std::chrono::milliseconds(40);

bool isAmong(std::initializer_list<AccessibleRole> roles, AccessibleRole role) {
    return std::ranges::find(roles, role) != roles.end();
}

} // namespace

std::optional<AccessibleObject> findShown(const AccessibleReader& reader, const AccessibleObject& root,
                                          std::initializer_list<AccessibleRole> roles) {
    const auto found = reader.find(root, [&](const AccessibleNode& node) {
        if (!node.has(AccessibleState::showing) ||
            isAmong({AccessibleRole::menuBar, AccessibleRole::scrollBar}, node.role))
            return Visit::skip;
        return isAmong(roles, node.role) ? Visit::take : Visit::enter;
    });
    return found ? std::optional(found->object) : std::nullopt;
}

std::optional<AccessibleObject> findBelow(const AccessibleReader& reader, const AccessibleObject& root,
                                          AccessibleRole role, std::initializer_list<AccessibleRole> notBelow) {
    const auto found = reader.find(root, [&](const AccessibleNode& node) {
        if (node.role == role)
            return Visit::take;
        return isAmong(notBelow, node.role) ? Visit::skip : Visit::enter;
    });
    return found ? std::optional(found->object) : std::nullopt;
}

std::vector<AccessibleNode> childrenOfRole(const AccessibleReader& reader, const AccessibleObject& object,
                                           AccessibleRole role) {
    auto nodes = reader.nodes(reader.children(object));
    std::erase_if(nodes, [&](const AccessibleNode& node) { return node.role != role; });
    return nodes;
}

std::optional<std::size_t> itemWithShortcut(const AccessibleReader& reader, const std::vector<AccessibleObject>& items,
                                            std::string_view shortcut) {
    const auto shortcuts = reader.shortcuts(items);
    const auto found = std::ranges::find(shortcuts, shortcut);
    return found == shortcuts.end() ? std::nullopt : std::optional<std::size_t>(found - shortcuts.begin());
}

std::vector<std::int32_t> awaitItems(const AccessibleReader& reader,
                                     const std::function<std::vector<std::string>()>& names, const std::string& folder,
                                     const std::vector<std::string>& items) {
    const ShownNames entries(folder);
    while (true) {
        auto found = entries.indices(names(), items);
        if (found.size() >= items.size() || std::chrono::steady_clock::now() + kPause >= reader.deadline())
            return found;
        std::this_thread::sleep_for(kPause);
    }
}

} // namespace torvo
