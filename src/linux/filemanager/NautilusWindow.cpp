#include "linux/filemanager/NautilusWindow.h"

#include "linux/X11Connection.h"
#include "support/FileURLText.h"

#include <algorithm>
#include <numeric>
#include <thread>

namespace torvo {

namespace {

constexpr const char* kBusName = "org.gnome.Nautilus";
/// More names than that are told from the view's order.
constexpr std::int32_t kFewItems = 200;
/// Which items are looked at for the view's order: so many from the first on, and so many all over.
constexpr std::int32_t kFirstLooks = 40;
constexpr std::int32_t kSpreadLooks = 100;
constexpr auto kPause = std::chrono::milliseconds(40);

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

std::vector<std::string> NautilusWindow::names(const AccessibleReader& reader, const AccessibleObject& view,
                                               const std::vector<std::int32_t>& positions) {
    return reader.names(reader.childrenAt(reader.childrenAt(view, positions), 0));
}

std::optional<std::vector<std::string>> NautilusWindow::order(const AccessibleReader& reader,
                                                              const AccessibleObject& view, const ShownNames& entries) {
    const auto count = reader.childCount(view);
    std::vector<std::int32_t> looked;
    for (std::int32_t position = 0; position < count; position += position < kFirstLooks ? 1 : count / kSpreadLooks + 1)
        looked.push_back(position);
    const auto seen = names(reader, view, looked);
    if (std::ranges::all_of(seen, &std::string::empty))
        return std::nullopt;
    for (auto& order : entries.possibleOrders()) {
        const bool agrees = order.size() == static_cast<std::size_t>(std::max(count, 0)) &&
                            std::ranges::equal(looked, seen, [&](std::int32_t position, const std::string& name) {
                                return name.empty() || name == order[static_cast<std::size_t>(position)];
                            });
        if (agrees)
            return std::move(order);
    }
    return std::nullopt;
}

std::vector<std::string> NautilusWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto items = view(reader);
    const auto count = items ? reader.selectedCount(*items) : 0;
    const auto shown = count > 0 ? folder(deadline) : std::nullopt;
    if (!shown)
        return {};
    const ShownNames entries(*shown);
    if (count <= kFewItems) {
        const auto selected = reader.names(reader.childrenAt(reader.selectedChildren(*items, count), 0));
        if (const auto paths = entries.paths(selected))
            return *paths;
    }
    const auto all = order(reader, *items, entries);
    if (!all)
        return {};
    if (static_cast<std::size_t>(count) == all->size())
        return entries.paths(*all).value_or(std::vector<std::string>());
    std::vector<std::string> selected;
    for (const auto position : reader.selectedPositions(*items, static_cast<std::int32_t>(all->size())))
        selected.push_back((*all)[static_cast<std::size_t>(position)]);
    return entries.paths(selected).value_or(std::vector<std::string>());
}

void NautilusWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto list = view(reader);
    if (!list)
        return;
    const auto shown = items.empty() ? std::nullopt : folder(deadline);
    std::vector<std::int32_t> positions;
    while (shown && positions.size() < items.size()) {
        const ShownNames entries(*shown);
        if (const auto all = order(reader, *list, entries)) {
            positions = entries.indices(*all, items);
        } else {
            std::vector<std::int32_t> every(static_cast<std::size_t>(std::max(reader.childCount(*list), 0)));
            std::iota(every.begin(), every.end(), 0);
            positions = entries.indices(names(reader, *list, every), items);
        }
        if (reader.isOver())
            break;
        if (positions.size() < items.size())
            std::this_thread::sleep_for(kPause);
    }
    reader.clearSelection(*list);
    reader.selectChildren(*list, positions);
}

} // namespace torvo
