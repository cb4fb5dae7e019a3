#include "linux/filemanager/ViewSearch.h"

#include "linux/filemanager/ShownNames.h"
#include "support/FileURL.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <thread>

namespace torvo {

namespace {

using Visit = AccessibleReader::Visit;

/// File managers look for new files a few times a second.
constexpr auto kPause = std::chrono::milliseconds(40);
constexpr auto kPatience = std::chrono::seconds(3);

bool isAmong(std::initializer_list<AccessibleRole> roles, AccessibleRole role) {
    return std::ranges::find(roles, role) != roles.end();
}

/// Where the items are if the view's order is that of `order`; absent when one of them is not there.
std::optional<std::vector<std::int32_t>> guessedPositions(const ViewItems& view, std::int32_t count,
                                                          const ShownNames& entries,
                                                          const std::vector<std::string>& order,
                                                          const std::vector<std::string>& items) {
    if (order.size() != static_cast<std::size_t>(std::max(count, 0)))
        return std::nullopt;
    auto positions = entries.indices(order, items);
    if (positions.empty() || positions.size() != items.size())
        return std::nullopt;
    const auto areThere = [&](const std::vector<std::int32_t>& looked) {
        return std::ranges::equal(view.names(looked), looked, {}, {},
                                  [&](std::int32_t position) { return order[static_cast<std::size_t>(position)]; });
    };
    if (!areThere({positions.front(), positions[positions.size() / 2], positions.back()}) || !areThere(positions))
        return std::nullopt;
    return positions;
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

std::vector<std::int32_t> awaitItems(const AccessibleReader& reader, const ViewItems& view, const std::string& folder,
                                     const std::vector<std::string>& wanted) {
    // What is not in the folder will never be shown.
    std::vector<std::string> items;
    std::ranges::copy_if(wanted, std::back_inserter(items), [&](const std::string& item) {
        return FileURL(item).isOccupied() && FileURL(item).deletingLastPathComponent() == FileURL(folder);
    });
    // What is there by then must still be selected.
    const auto now = std::chrono::steady_clock::now();
    const auto lastLook = now + std::min<std::chrono::nanoseconds>((reader.deadline() - now) * 6 / 10, kPatience);
    std::int32_t lastCount = -1;
    std::vector<std::int32_t> found;
    while (true) {
        const auto count = view.count();
        if (count != lastCount) {
            const ShownNames entries(folder);
            for (const auto& order : entries.possibleOrders())
                if (auto guessed = guessedPositions(view, count, entries, order, items))
                    return *guessed;
            std::vector<std::int32_t> all(static_cast<std::size_t>(std::max(count, 0)));
            std::iota(all.begin(), all.end(), 0);
            found = entries.indices(view.names(all), items);
            lastCount = count;
        }
        if (found.size() >= items.size() || std::chrono::steady_clock::now() + kPause >= lastLook)
            return found;
        std::this_thread::sleep_for(kPause);
    }
}

} // namespace torvo
