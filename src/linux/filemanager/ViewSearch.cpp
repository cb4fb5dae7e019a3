#include "linux/filemanager/ViewSearch.h"

#include "linux/filemanager/ShownNames.h"
#include "support/FileURL.h"

#include <sys/stat.h>

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
/// A view that was the same for so long is not being filled any more.
constexpr auto kSettled = std::chrono::milliseconds(250);
/// More names than that are not looked up one by one to read a selection, and views of more items not as a whole.
constexpr std::size_t kFewItems = 64;
constexpr std::int32_t kLargestReadView = 300;

bool isAmong(std::initializer_list<AccessibleRole> roles, AccessibleRole role) {
    return std::ranges::find(roles, role) != roles.end();
}

std::vector<std::int32_t> everyPosition(std::int32_t count) {
    std::vector<std::int32_t> all(static_cast<std::size_t>(std::max(count, 0)));
    std::iota(all.begin(), all.end(), 0);
    return all;
}

/// Whether the item came to be where it is, or changed, so lately that a file manager may not have noticed.
bool isFresh(const std::string& item) {
    struct stat status{};
    if (::lstat(item.c_str(), &status) != 0)
        return false;
    const auto age = std::chrono::system_clock::now() - std::chrono::system_clock::from_time_t(status.st_ctim.tv_sec);
    return age < kPatience + std::chrono::seconds(1);
}

/// Where the items are if the view's order is that of `order`; absent when one of them is not there.
std::optional<std::vector<std::int32_t>> guessedPositions(const ViewItems& view, std::int32_t count,
                                                          const ShownNames& entries,
                                                          const std::vector<std::string>& order,
                                                          const std::vector<std::string>& items) {
    if (order.size() != static_cast<std::size_t>(std::max(count, 0)))
        return std::nullopt;
    const auto positions = knownPositions(entries.positions(order, items));
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

std::vector<std::int32_t> selectedPositions(const std::vector<AccessibleNode>& nodes) {
    std::vector<std::int32_t> positions;
    for (std::size_t i = 0; i < nodes.size(); ++i)
        if (nodes[i].has(AccessibleState::selected))
            positions.push_back(static_cast<std::int32_t>(i));
    return positions;
}

std::optional<std::vector<std::string>> certainPaths(const ViewItems& view, const std::string& folder,
                                                     const std::vector<std::int32_t>& positions, bool hasFilter) {
    const auto count = view.count();
    const ShownNames entries(folder);
    if (!hasFilter && positions.size() <= kFewItems)
        if (auto paths =
                entries.pathsAt(static_cast<std::size_t>(std::max(count, 0)), positions, view.names(positions)))
            return paths;
    if (count <= 0 || count > kLargestReadView)
        return std::nullopt;
    const auto all = entries.pathsOfView(view.names(everyPosition(count)));
    if (!all)
        return std::nullopt;
    std::vector<std::string> paths;
    for (const auto position : positions) {
        if (position < 0 || position >= count)
            return std::nullopt;
        paths.push_back((*all)[static_cast<std::size_t>(position)]);
    }
    return paths;
}

ComingItems::ComingItems(std::string folder, const std::vector<std::string>& wanted, Deadline deadline)
    : m_folder(std::move(folder)) {
    // What is not in the folder will never be shown.
    std::ranges::copy_if(wanted, std::back_inserter(m_items), [&](const std::string& item) {
        return FileURL(item).isOccupied() && FileURL(item).deletingLastPathComponent() == FileURL(m_folder);
    });
    // What is there by then must still be selected.
    const auto now = std::chrono::steady_clock::now();
    m_lastLook = now + std::min<std::chrono::nanoseconds>((deadline - now) * 6 / 10, kPatience);
}

bool ComingItems::mayCome(std::int32_t count, const Found& found) {
    const auto now = std::chrono::steady_clock::now();
    if (count != m_count) {
        m_count = count;
        m_changed = now;
    }
    if (found.size() >= m_items.size() || now + kPause >= m_lastLook)
        return false;
    // A window that was opened a moment ago still fills its view.
    if (now - m_changed < kSettled)
        return true;
    const ShownNames entries(m_folder);
    const bool showsHidden = entries.showsHidden(static_cast<std::size_t>(std::max(count, 0)));
    return std::ranges::any_of(m_items, [&](const std::string& item) {
        return !found.contains(item) && isFresh(item) && (showsHidden || !entries.isHidden(item));
    });
}

std::vector<std::int32_t> knownPositions(const ComingItems::Found& found) {
    std::vector<std::int32_t> positions;
    for (const auto& [item, position] : found)
        if (position)
            positions.push_back(*position);
    std::ranges::sort(positions);
    return positions;
}

std::vector<std::int32_t> awaitItems(const AccessibleReader& reader, const ViewItems& view, const std::string& folder,
                                     const std::vector<std::string>& wanted) {
    ComingItems coming(folder, wanted, reader.deadline());
    const auto& items = coming.items();
    std::int32_t lastCount = -1;
    ComingItems::Found found;
    while (!items.empty()) {
        const auto count = view.count();
        if (count != lastCount) {
            const ShownNames entries(folder);
            for (const auto& order : entries.possibleOrders())
                if (auto guessed = guessedPositions(view, count, entries, order, items))
                    return *guessed;
            found = entries.positions(view.names(everyPosition(count)), items);
            lastCount = count;
        }
        if (!coming.mayCome(count, found))
            break;
        std::this_thread::sleep_for(kPause);
    }
    return knownPositions(found);
}

} // namespace torvo
