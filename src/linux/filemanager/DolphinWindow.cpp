#include "linux/filemanager/DolphinWindow.h"

#include "linux/filemanager/Breadcrumbs.h"
#include "linux/filemanager/ClipboardCopy.h"
#include "linux/filemanager/ViewSearch.h"
#include "support/FileURLText.h"

#include <algorithm>

namespace torvo {

namespace {

/// In a folder of more items the clipboard is faster than asking each whether it is selected.
constexpr std::int32_t kFewItems = 300;
/// Windows are numbered from 1; the numbers of closed ones are used again.
constexpr int kHighestWindow = 64;

std::vector<AccessibleObject> objects(const std::vector<AccessibleNode>& nodes) {
    std::vector<AccessibleObject> result;
    std::ranges::transform(nodes, std::back_inserter(result), &AccessibleNode::object);
    return result;
}

ViewItems viewItems(const AccessibleReader& reader, const AccessibleObject& view) {
    return {[&reader, view] { return reader.childCount(view); },
            [&reader, view](const auto& positions) { return reader.names(reader.childrenAt(view, positions)); }};
}

} // namespace

DolphinWindow::DolphinWindow(FileManagerAccess access)
    : m_access(std::move(access)), m_busName("org.kde.dolphin-" + std::to_string(m_access.pid)) {}

const std::string& DolphinWindow::object(Deadline deadline) {
    for (int number = 1; m_object.empty() && number <= kHighestWindow; ++number) {
        const auto path = "/dolphin/Dolphin_" + std::to_string(number);
        const auto reply = m_access.session.call({m_busName, path, "org.kde.KMainWindow", "winId"}, nullptr, "(x)",
                                                 remaining(deadline));
        if (!reply)
            continue;
        gint64 window = 0;
        g_variant_get(reply->get(), "(x)", &window);
        if (window == m_access.window)
            m_object = path;
    }
    return m_object;
}

void DolphinWindow::trigger(const char* action, Deadline deadline) {
    if (!object(deadline).empty())
        (void)m_access.session.call({m_busName, m_object + "/actions/" + action, "org.qtproject.Qt.QAction", "trigger"},
                                    nullptr, nullptr, remaining(deadline));
}

/// With nothing selected, "Copy…" would ask for something to be selected; the ellipsis says so.
bool DolphinWindow::hasSelection(Deadline deadline) {
    if (object(deadline).empty())
        return false;
    const auto reply =
        m_access.session.call({m_busName, m_object + "/actions/edit_copy", "org.freedesktop.DBus.Properties", "Get"},
                              g_variant_new("(ss)", "org.qtproject.Qt.QAction", "text"), "(v)", remaining(deadline));
    if (!reply)
        return false;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(reply->get(), 0));
    const GLibPointer<GVariant> value(g_variant_get_variant(boxed.get()));
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING))
        return false;
    const std::string text = g_variant_get_string(value.get(), nullptr);
    return !text.empty() && !text.ends_with("…") && !text.ends_with("...");
}

bool DolphinWindow::isSplit(Deadline deadline) {
    const auto reply = m_access.session.call(
        {m_busName, object(deadline) + "/actions/split_view", "org.freedesktop.DBus.Properties", "Get"},
        g_variant_new("(ss)", "org.qtproject.Qt.QAction", "checked"), "(v)", remaining(deadline));
    if (!reply)
        return false;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(reply->get(), 0));
    const GLibPointer<GVariant> value(g_variant_get_variant(boxed.get()));
    return g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value.get()) != FALSE;
}

bool DolphinWindow::isShown(const std::string& folder, Deadline deadline) {
    const auto reply =
        m_access.session.call({m_busName, object(deadline), "org.kde.dolphin.MainWindow", "isUrlOpen"},
                              g_variant_new("(s)", fileURLText(FileURL(folder)).c_str()), "(b)", remaining(deadline));
    gboolean isOpen = FALSE;
    if (reply)
        g_variant_get(reply->get(), "(b)", &isOpen);
    return isOpen != FALSE;
}

std::optional<std::string> DolphinWindow::crumbsFolder(const AccessibleReader& reader) {
    // The location is a row with a combo box, for typing, and a button for each folder of the path.
    const auto parts = [&](const AccessibleObject& row) {
        auto nodes = reader.nodes(reader.children(row));
        const bool hasEntry = std::ranges::any_of(
            nodes, [](const AccessibleNode& node) { return node.role == AccessibleRole::comboBox; });
        const auto toggle = std::ranges::find(nodes, AccessibleRole::checkBox, &AccessibleNode::role);
        nodes.erase(nodes.begin(), toggle);
        std::erase_if(nodes, [](const AccessibleNode& node) { return node.role != AccessibleRole::pushButton; });
        return hasEntry ? nodes : std::vector<AccessibleNode>();
    };
    auto buttons = m_navigator ? parts(*m_navigator) : std::vector<AccessibleNode>();
    if (buttons.empty()) {
        const auto row = reader.find(m_access.frame, [&](const AccessibleNode& node) {
            if (node.role == AccessibleRole::menuBar || !node.has(AccessibleState::showing))
                return AccessibleReader::Visit::skip;
            if (node.role != AccessibleRole::filler)
                return AccessibleReader::Visit::enter;
            return parts(node.object).empty() ? AccessibleReader::Visit::enter : AccessibleReader::Visit::take;
        });
        if (!row)
            return std::nullopt;
        m_navigator = row->object;
        buttons = parts(row->object);
    }
    const std::vector<std::string> roots{homeOfProcess(m_access.pid).value_or("/")};
    // In a narrow window the outer folders are there, but hidden; a button that is left over is hidden too.
    const auto all = reader.names(objects(buttons));
    std::erase_if(buttons, [](const AccessibleNode& node) { return !node.has(AccessibleState::showing); });
    for (const auto& names : {reader.names(objects(buttons)), all})
        if (auto folder = folderOfBreadcrumbs(names, roots); folder && isShown(*folder, reader.deadline()))
            return folder;
    return std::nullopt;
}

std::optional<std::string> DolphinWindow::folder(Deadline deadline) {
    return crumbsFolder(AccessibleReader(m_access.accessibility, deadline));
}

std::optional<AccessibleObject> DolphinWindow::view(const AccessibleReader& reader) {
    // The view does not name what holds it, and says that it shows in a hidden tab, too; what holds it knows better.
    const auto isHeld = [&] {
        const auto nodes = reader.nodes({m_view->holder, m_view->items});
        return nodes[0].has(AccessibleState::showing) && nodes[1].role == AccessibleRole::table;
    };
    if (m_view && isHeld())
        return m_view->items;
    m_view.reset();
    (void)reader.find(m_access.frame, [&](const AccessibleNode& node) {
        if (!node.has(AccessibleState::showing) || node.role == AccessibleRole::menuBar ||
            node.role == AccessibleRole::scrollBar)
            return AccessibleReader::Visit::skip;
        const auto tables = childrenOfRole(reader, node.object, AccessibleRole::table);
        if (tables.empty())
            return AccessibleReader::Visit::enter;
        m_view = View{node.object, tables.front().object};
        return AccessibleReader::Visit::take;
    });
    return m_view ? std::optional(m_view->items) : std::nullopt;
}

std::vector<std::string> DolphinWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    if (!hasSelection(deadline))
        return {};
    // What is copied comes from the half that the user works in.
    const auto items = isSplit(deadline) ? std::nullopt : view(reader);
    if (items && reader.childCount(*items) <= kFewItems) {
        const auto nodes = reader.nodes(reader.children(*items));
        const auto shown = folder(deadline);
        const auto paths =
            shown ? certainPaths(viewItems(reader, *items), *shown, selectedPositions(nodes), true) : std::nullopt;
        if (paths && !paths->empty())
            return *paths;
    }
    return copiedFiles(m_access.clipboard, [&] { trigger("edit_copy", deadline); }, deadline);
}

void DolphinWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    if (items.empty()) {
        trigger("edit_select_all", deadline);
        trigger("invert_selection", deadline);
        return;
    }
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto list = view(reader);
    const auto shown = folder(deadline);
    if (!shown)
        return;
    // What is not in the view yet would not be selected.
    if (list && reader.childCount(*list) <= kFewItems)
        (void)awaitItems(reader, viewItems(reader, *list), *shown, items);
    std::vector<FileURL> here;
    for (const auto& item : items)
        if (const FileURL url(item); url.isOccupied() && url.deletingLastPathComponent() == FileURL(*shown))
            here.push_back(url);
    if (here.empty()) {
        select({}, deadline);
        return;
    }
    GVariantBuilder addresses;
    g_variant_builder_init(&addresses, G_VARIANT_TYPE("as"));
    for (const auto& item : here)
        g_variant_builder_add(&addresses, "s", fileURLText(item).c_str());
    // What other programs ask for to show items (org.freedesktop.FileManager1) would take the keyboard as well.
    (void)m_access.session.call({m_busName, object(deadline), "org.kde.dolphin.MainWindow", "openFiles"},
                                g_variant_new("(asb)", &addresses, FALSE), nullptr, remaining(deadline));
}

} // namespace torvo
