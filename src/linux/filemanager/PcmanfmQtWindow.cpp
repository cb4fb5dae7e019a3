#include "linux/filemanager/PcmanfmQtWindow.h"

#include "linux/filemanager/Breadcrumbs.h"
#include "linux/filemanager/ClipboardCopy.h"
#include "linux/filemanager/ViewSearch.h"

#include <algorithm>
#include <numeric>
#include <thread>

namespace torvo {

namespace {

/// In a folder of more items the clipboard is faster than asking each whether it is selected.
constexpr std::int32_t kFewItems = 300;

ViewItems viewItems(const AccessibleReader& reader, const AccessibleObject& view) {
    return {[&reader, view] { return reader.rowCount(view); },
            [&reader, view](const auto& positions) { return reader.names(reader.cells(view, positions, 0)); }};
}

} // namespace

std::optional<std::string> PcmanfmQtWindow::folder(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    // The innermost folder comes first; what lies deeper than the one that is shown comes before it.
    const auto pathButtons = [&](const AccessibleObject& row) {
        return childrenOfRole(reader, row, AccessibleRole::checkBox);
    };
    auto buttons = m_buttons ? pathButtons(*m_buttons) : std::vector<AccessibleNode>();
    if (buttons.empty()) {
        const auto bar = reader.find(m_access.frame, [](const AccessibleNode& node) {
            return node.role == AccessibleRole::toolBar ? AccessibleReader::Visit::take : AccessibleReader::Visit::skip;
        });
        if (!bar)
            return std::nullopt;
        const auto row = reader.find(bar->object, [&](const AccessibleNode& node) {
            if (node.role != AccessibleRole::filler || !node.has(AccessibleState::showing))
                return AccessibleReader::Visit::skip;
            return pathButtons(node.object).empty() ? AccessibleReader::Visit::enter : AccessibleReader::Visit::take;
        });
        if (!row)
            return std::nullopt;
        m_buttons = row->object;
        buttons = pathButtons(row->object);
    }
    const auto shown =
        std::ranges::find_if(buttons, [](const AccessibleNode& node) { return node.has(AccessibleState::checked); });
    std::vector<AccessibleObject> crumbs;
    std::transform(shown, buttons.end(), std::back_inserter(crumbs), [](const auto& node) { return node.object; });
    std::ranges::reverse(crumbs);
    const auto names = reader.names(crumbs);
    if (names.empty() || names.front() != "/")
        return std::nullopt;
    return folderOfBreadcrumbs(names, {});
}

std::optional<AccessibleObject> PcmanfmQtWindow::view(const AccessibleReader& reader) {
    if (m_view) {
        // A view says that it shows in a hidden tab, too; what holds it knows better.
        const auto node = reader.node(*m_view);
        if (reader.node(reader.parent(*m_view)).has(AccessibleState::showing) &&
            (node.role == AccessibleRole::list || node.role == AccessibleRole::tree))
            return m_view;
    }
    // The tabs are in a layered pane of their own; the list and the tree beside it are the places.
    const auto tabs = findShown(reader, m_access.frame, {AccessibleRole::layeredPane});
    m_view = tabs ? findShown(reader, *tabs, {AccessibleRole::list, AccessibleRole::tree}) : std::nullopt;
    return m_view;
}

std::vector<AccessibleObject> PcmanfmQtWindow::cells(const AccessibleReader& reader, const AccessibleObject& view) {
    std::vector<std::int32_t> rows(static_cast<std::size_t>(std::max(reader.rowCount(view), 0)));
    std::iota(rows.begin(), rows.end(), 0);
    return reader.cells(view, rows, 0);
}

std::optional<PcmanfmQtWindow::EditMenu> PcmanfmQtWindow::editMenu(const AccessibleReader& reader) {
    if (m_edit && reader.node(m_edit->copy).role == AccessibleRole::menuItem)
        return m_edit;
    m_edit.reset();
    const auto bar = findBelow(reader, m_access.frame, AccessibleRole::menuBar, {AccessibleRole::filler});
    if (!bar)
        return std::nullopt;
    for (const auto& menu : reader.children(*bar)) {
        const auto popup = reader.child(menu, 0);
        const auto items = popup ? reader.children(*popup) : std::vector<AccessibleObject>();
        const auto copy = itemWithShortcut(reader, items, "ctrl+c");
        const auto selectAll = itemWithShortcut(reader, items, "ctrl+a");
        if (copy && selectAll && *selectAll + 1 < items.size())
            return m_edit = EditMenu{items[*copy], items[*selectAll + 1]};
    }
    return std::nullopt;
}

std::vector<std::string> PcmanfmQtWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto edit = editMenu(reader);
    if (!edit || !reader.node(edit->copy).has(AccessibleState::sensitive))
        return {};
    const auto items = view(reader);
    if (items && reader.rowCount(*items) <= kFewItems) {
        const auto nodes = reader.nodes(cells(reader, *items));
        const auto shown = folder(deadline);
        const auto paths =
            shown ? certainPaths(viewItems(reader, *items), *shown, selectedPositions(nodes), true) : std::nullopt;
        if (paths && !paths->empty())
            return *paths;
    }
    return copiedFiles(m_access.clipboard, [&] { reader.press(edit->copy); }, deadline);
}

void PcmanfmQtWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto edit = editMenu(reader);
    if (edit && items.empty())
        reader.press(edit->deselectAll);
    const auto shown = items.empty() ? std::nullopt : folder(deadline);
    const auto list = shown ? view(reader) : std::nullopt;
    if (!edit || !list)
        return;
    const auto rows = awaitItems(reader, viewItems(reader, *list), *shown, items);
    reader.press(edit->deselectAll);
    reader.pressAll(reader.cells(*list, rows, 0));
    // The program hears of its own selection a moment later.
    while (!rows.empty() && !reader.node(edit->copy).has(AccessibleState::sensitive) && !reader.isOver())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

} // namespace torvo
