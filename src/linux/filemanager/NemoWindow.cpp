#include "linux/filemanager/NemoWindow.h"

#include "linux/filemanager/Breadcrumbs.h"
#include "linux/filemanager/ClipboardCopy.h"
#include "linux/filemanager/ShownNames.h"
#include "linux/filemanager/ViewSearch.h"

#include <algorithm>

namespace torvo {

namespace {

/// Views of more items are read through the clipboard.
constexpr std::int32_t kFewItems = 300;

bool isAmong(std::initializer_list<AccessibleRole> roles, AccessibleRole role) {
    return std::ranges::find(roles, role) != roles.end();
}

bool isTable(AccessibleRole role) {
    return role == AccessibleRole::table || role == AccessibleRole::treeTable;
}

} // namespace

std::optional<std::string> NemoWindow::folder(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto pathButtons = [&](const AccessibleObject& row) {
        return childrenOfRole(reader, row, AccessibleRole::toggleButton);
    };
    auto buttons = m_buttons ? pathButtons(*m_buttons) : std::vector<AccessibleNode>();
    if (buttons.empty()) {
        const auto bar = findShown(reader, m_access.frame, {AccessibleRole::toolBar});
        const auto row =
            bar ? reader.find(*bar,
                              [&](const AccessibleNode& node) {
                                  if (node.role == AccessibleRole::panel && !pathButtons(node.object).empty())
                                      return AccessibleReader::Visit::take;
                                  return AccessibleReader::Visit::enter;
                              })
                : std::nullopt;
        if (!row)
            return std::nullopt;
        m_buttons = row->object;
        buttons = pathButtons(row->object);
    }
    // The innermost folder comes first; what lies deeper than the one that is shown comes before it.
    const auto shown =
        std::ranges::find_if(buttons, [](const AccessibleNode& node) { return node.has(AccessibleState::checked); });
    std::vector<AccessibleObject> crumbs;
    std::transform(shown, buttons.end(), std::back_inserter(crumbs), [](const auto& node) { return node.object; });
    std::ranges::reverse(crumbs);
    return folderOfBreadcrumbs(reader.names(crumbs), {homeOfProcess(m_access.pid).value_or("/")});
}

std::optional<AccessibleNode> NemoWindow::view(const AccessibleReader& reader) {
    if (m_view) {
        auto node = reader.node(*m_view);
        if (node.has(AccessibleState::showing) && (isTable(node.role) || node.role == AccessibleRole::layeredPane))
            return node;
    }
    m_view.reset();
    // The views of the other tabs are there, but not shown. The tree beside the tabs is the places.
    std::optional<AccessibleObject> found;
    (void)reader.find(m_access.frame, [&](const AccessibleNode& node) {
        if (isAmong({AccessibleRole::menuBar, AccessibleRole::toolBar, AccessibleRole::scrollPane}, node.role))
            return AccessibleReader::Visit::skip;
        if (node.role != AccessibleRole::pageTab)
            return AccessibleReader::Visit::enter;
        found = findShown(reader, node.object,
                          {AccessibleRole::layeredPane, AccessibleRole::table, AccessibleRole::treeTable});
        return found ? AccessibleReader::Visit::take : AccessibleReader::Visit::skip;
    });
    if (!found)
        return std::nullopt;
    m_view = found;
    return reader.node(*found);
}

/// The names in a table are in the cell that has an icon and a text, or in the first cell with a name.
std::vector<std::string> NemoWindow::rowNames(const AccessibleReader& reader, const AccessibleObject& table,
                                              const std::vector<std::int32_t>& rows) {
    if (rows.empty())
        return {};
    const auto columns = std::min(reader.columnCount(table), 32);
    for (std::int32_t column = 0; column < columns; ++column) {
        const auto cell = reader.cells(table, {rows.front()}, column).front();
        const auto parts = cell.path.empty() ? std::vector<AccessibleObject>() : reader.children(cell);
        const auto names = reader.names(parts);
        const auto text = std::ranges::find_if(names, [](const std::string& name) { return !name.empty(); });
        if (text != names.end())
            return reader.names(
                reader.childrenAt(reader.cells(table, rows, column), static_cast<std::int32_t>(text - names.begin())));
        if (!cell.path.empty() && parts.empty() && !reader.name(cell).empty())
            return reader.names(reader.cells(table, rows, column));
    }
    return {};
}

ViewItems NemoWindow::viewItems(const AccessibleReader& reader, const AccessibleNode& view) {
    const auto& object = view.object;
    if (isTable(view.role))
        return {[&reader, object] { return reader.rowCount(object); },
                [this, &reader, object](const auto& rows) { return rowNames(reader, object, rows); }};
    return {[&reader, object] { return reader.childCount(object); },
            [&reader, object](const auto& wanted) { return reader.names(reader.childrenAt(object, wanted)); }};
}

/// The icon view tells the selected items, but not where they are.
std::optional<std::vector<std::string>> NemoWindow::iconPaths(const AccessibleReader& reader,
                                                              const AccessibleObject& view, const std::string& folder) {
    if (reader.childCount(view) > kFewItems)
        return std::nullopt;
    const auto all = reader.children(view);
    const auto paths = ShownNames(folder).pathsOfView(reader.names(all));
    std::vector<std::string> result;
    for (const auto& item : reader.selectedChildren(view, reader.selectedCount(view))) {
        const auto at = std::ranges::find(all, item);
        if (!paths || at == all.end())
            return std::nullopt;
        result.push_back((*paths)[static_cast<std::size_t>(at - all.begin())]);
    }
    return result;
}

std::vector<std::string> NemoWindow::copied(const AccessibleReader& reader) {
    if (!m_copy || reader.node(*m_copy).role != AccessibleRole::menuItem) {
        m_copy.reset();
        const auto bar = findBelow(reader, m_access.frame, AccessibleRole::menuBar, {AccessibleRole::splitPane});
        for (const auto& menu : bar ? reader.children(*bar) : std::vector<AccessibleObject>()) {
            const auto items = reader.children(menu);
            if (const auto copy = itemWithShortcut(reader, items, "ctrl+c")) {
                m_copy = items[*copy];
                break;
            }
        }
    }
    if (!m_copy)
        return {};
    return copiedFiles(m_access.clipboard, [&] { reader.press(*m_copy); }, reader.deadline());
}

std::vector<std::string> NemoWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto items = view(reader);
    if (!items)
        return {};
    const auto count = isTable(items->role) ? 0 : reader.selectedCount(items->object);
    const auto rows = isTable(items->role) ? reader.selectedRows(items->object) : std::vector<std::int32_t>();
    if (rows.empty() && count == 0)
        return {};
    const auto shown = folder(deadline);
    const auto paths = !shown          ? std::nullopt
                       : !rows.empty() ? certainPaths(viewItems(reader, *items), *shown, rows, false)
                                       : iconPaths(reader, items->object, *shown);
    return paths ? *paths : copied(reader);
}

void NemoWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto list = view(reader);
    if (list && items.empty())
        reader.clearSelection(list->object);
    const auto shown = items.empty() ? std::nullopt : folder(deadline);
    if (!list || !shown)
        return;
    const auto positions = awaitItems(reader, viewItems(reader, *list), *shown, items);
    reader.clearSelection(list->object);
    if (isTable(list->role))
        reader.selectRows(list->object, positions);
    else
        reader.selectChildren(list->object, positions);
}

} // namespace torvo
