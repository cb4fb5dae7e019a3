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
/// So many items are looked at to tell how the view is sorted.
constexpr std::int32_t kLooks = 200;
constexpr auto kPause = std::chrono::milliseconds(40);
constexpr auto kPatience = std::chrono::seconds(3);

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

std::optional<std::vector<std::string>> NautilusWindow::order(const AccessibleReader& reader,
                                                              const AccessibleObject& view, const ShownNames& entries) {
    std::vector<std::int32_t> looked(static_cast<std::size_t>(std::clamp(reader.childCount(view), 0, kLooks)));
    std::iota(looked.begin(), looked.end(), 0);
    const auto seen = reader.names(reader.childrenAt(reader.childrenAt(view, looked), 0));
    if (seen.empty())
        return std::nullopt;
    for (auto& order : entries.possibleOrders()) {
        // What is made is a piece of the whole, perhaps with a few others before or after it.
        auto next = order.begin();
        const bool agrees = std::ranges::all_of(seen, [&](const std::string& name) {
            next = std::find(next, order.end(), name);
            return next != order.end();
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
    // Items that are not on the screen are counted, but not made: nothing tells which of them are selected, unless all
    // are.
    const auto all = order(reader, *items, entries);
    if (!all || static_cast<std::size_t>(count) != all->size())
        return {};
    return entries.paths(*all).value_or(std::vector<std::string>());
}

void NautilusWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto list = view(reader);
    if (!list)
        return;
    const auto shown = items.empty() ? std::nullopt : folder(deadline);
    std::vector<std::int32_t> positions;
    // What is there by then must still be selected.
    const auto now = std::chrono::steady_clock::now();
    const auto lastLook = now + std::min<std::chrono::nanoseconds>((deadline - now) * 6 / 10, kPatience);
    while (shown && positions.size() < items.size()) {
        const ShownNames entries(*shown);
        // The positions are those of what is made, in whatever order it was made; the rest cannot be selected.
        std::vector<std::int32_t> every(static_cast<std::size_t>(std::max(reader.childCount(*list), 0)));
        std::iota(every.begin(), every.end(), 0);
        positions = entries.indices(reader.names(reader.childrenAt(reader.childrenAt(*list, every), 0)), items);
        if (std::chrono::steady_clock::now() >= lastLook)
            break;
        if (positions.size() < items.size())
            std::this_thread::sleep_for(kPause);
    }
    reader.clearSelection(*list);
    reader.selectChildren(*list, positions);
}

} // namespace torvo
