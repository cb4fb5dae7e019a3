#include "linux/filemanager/NautilusWindow.h"

#include "linux/X11Connection.h"
#include "linux/filemanager/ShownNames.h"
#include "linux/filemanager/ViewSearch.h"
#include "support/FileURLText.h"

#include <algorithm>
#include <numeric>

namespace torvo {

namespace {

constexpr const char* kBusName = "org.gnome.Nautilus";

/// The object of the window on the session bus, as its toolkit notes it on the window.
std::string objectPathOf(xcb_window_t window) {
    const auto connection = X11Connection::create();
    return connection == nullptr ? "" : connection->textProperty(window, "_GTK_WINDOW_OBJECT_PATH");
}

} // namespace

std::optional<std::string> NautilusWindow::folder(Deadline deadline) {
    if (m_objectPath.empty())
        m_objectPath = objectPathOf(m_access.window);
    const auto reply = m_access.session.call(
        {kBusName, "/org/freedesktop/FileManager1", "org.freedesktop.DBus.Properties", "Get"},
        g_variant_new("(ss)", "org.freedesktop.FileManager1", "OpenWindowsWithLocations"), "(v)", remaining(deadline));
    if (!reply)
        return std::nullopt;
    const GLibPointer<GVariant> boxed(g_variant_get_child_value(reply->get(), 0));
    const GLibPointer<GVariant> windows(g_variant_get_variant(boxed.get()));
    if (!g_variant_is_of_type(windows.get(), G_VARIANT_TYPE("a{sas}")))
        return std::nullopt;
    const GLibPointer<GVariant> locations(
        g_variant_lookup_value(windows.get(), m_objectPath.c_str(), G_VARIANT_TYPE("as")));
    if (locations == nullptr)
        return std::nullopt;
    std::vector<std::string> folders;
    for (gsize i = 0; i < g_variant_n_children(locations.get()); ++i) {
        const char* address = nullptr;
        g_variant_get_child(locations.get(), i, "&s", &address);
        if (const auto folder = parseFileURLText(address))
            folders.push_back(folder->path());
    }
    if (folders.size() <= 1)
        return folders.empty() ? std::nullopt : std::optional(folders.front());
    // All tabs are listed: the one that is shown gives the window its title.
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto title = reader.name(m_access.frame);
    const auto shown =
        std::ranges::find(folders, title, [](const std::string& path) { return FileURL(path).lastPathComponent(); });
    return shown == folders.end() ? std::nullopt : std::optional(*shown);
}

std::optional<AccessibleObject> NautilusWindow::view(const AccessibleReader& reader) {
    const auto isView = [&](const AccessibleObject& object) {
        const auto name = reader.name(object);
        return name == "GtkGridView" || name == "GtkColumnListView" || name == "GtkListView";
    };
    if (m_view && isView(*m_view))
        return m_view;
    m_view.reset();
    const auto found = reader.find(m_access.frame, [&](const AccessibleNode& node) {
        return isView(node.object) ? AccessibleReader::Visit::take : AccessibleReader::Visit::enter;
    });
    if (found)
        m_view = found->object;
    return m_view;
}

std::optional<std::vector<std::string>> NautilusWindow::names(const AccessibleReader& reader,
                                                              const std::vector<AccessibleObject>& cells) {
    if (std::ranges::any_of(cells, [](const AccessibleObject& cell) { return cell.path.empty(); }))
        return std::nullopt;
    return reader.names(reader.childrenAt(cells, 0));
}

std::vector<std::string> NautilusWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto items = view(reader);
    const auto count = items ? reader.selectedCount(*items) : 0;
    if (count <= 0)
        return {};
    const auto shown = folder(deadline);
    const auto selected = names(reader, reader.selectedChildren(*items, count));
    if (!shown || !selected)
        return {};
    return ShownNames(*shown).paths(*selected).value_or(std::vector<std::string>());
}

void NautilusWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto list = view(reader);
    if (!list)
        return;
    const auto shown = items.empty() ? std::nullopt : folder(deadline);
    if (!shown) {
        reader.clearSelection(*list);
        return;
    }
    const auto positions = awaitItems(
        reader,
        [&] {
            std::vector<std::int32_t> all(static_cast<std::size_t>(std::max(reader.childCount(*list), 0)));
            std::iota(all.begin(), all.end(), 0);
            return reader.names(reader.childrenAt(reader.childrenAt(*list, all), 0));
        },
        *shown, items);
    reader.clearSelection(*list);
    reader.selectChildren(*list, positions);
}

} // namespace torvo
