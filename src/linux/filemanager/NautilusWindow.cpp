#include "linux/filemanager/NautilusWindow.h"

#include "linux/X11Connection.h"
#include "linux/filemanager/Breadcrumbs.h"
#include "linux/filemanager/ClipboardCopy.h"
#include "linux/filemanager/ViewSearch.h"
#include "linux/filemanager/WindowKeys.h"
#include "support/FileURLText.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <thread>

namespace torvo {

namespace {

constexpr const char* kBusName = "org.gnome.Nautilus";
/// More names than that are told from the view's order.
constexpr std::int32_t kFewItems = 200;
/// So many items are looked at to tell how the view is sorted.
constexpr std::int32_t kLooks = 200;
/// And so many to tell whether it shows the folder.
constexpr std::int32_t kFitLooks = 12;
constexpr auto kPause = std::chrono::milliseconds(40);

/// The object of the window on the session bus, as its toolkit notes it on the window.
std::string objectPathOf(xcb_window_t window) {
    const auto connection = X11Connection::create();
    return connection == nullptr ? "" : connection->textProperty(window, "_GTK_WINDOW_OBJECT_PATH");
}

/// Whether a folder may be what path buttons stand for. The outermost one is the root, the home folder or a volume,
/// under a name of its own.
bool endsWithCrumbs(const std::string& folder, const std::vector<std::string>& crumbs, const std::string& home) {
    if (crumbs.empty())
        return false;
    FileURL outer(folder);
    for (std::size_t i = crumbs.size(); i > 1; --i) {
        const auto name = outer.lastPathComponent();
        const GLibPointer<char> valid(g_utf8_make_valid(name.data(), static_cast<gssize>(name.size())));
        if (!crumbs[i - 1].starts_with(valid.get()) || outer.path() == "/")
            return false;
        outer = outer.deletingLastPathComponent();
    }
    return outer.path() == "/" || outer.path() == home || outer.lastPathComponent() == crumbs.front();
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
    // All tabs are listed, those that still load are not: the path bar says which one is shown.
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto shown = crumbs(reader);
    const auto home = homeOfProcess(m_access.pid).value_or("/");
    std::set<std::string> folders;
    for (gsize i = 0; i < g_variant_n_children(locations.get()); ++i) {
        const char* address = nullptr;
        g_variant_get_child(locations.get(), i, "&s", &address);
        if (const auto folder = parseFileURLText(address); folder && endsWithCrumbs(folder->path(), shown, home))
            folders.insert(folder->path());
    }
    return folders.size() == 1 ? std::optional(*folders.begin()) : std::nullopt;
}

/// The texts of the path bar, the outermost folder first.
std::vector<std::string> NautilusWindow::crumbs(const AccessibleReader& reader) {
    using Visit = AccessibleReader::Visit;
    const auto buttons = [&](const AccessibleObject& row) {
        std::vector<AccessibleObject> result;
        for (const auto& part : reader.children(row))
            for (const auto& node : childrenOfRole(reader, part, AccessibleRole::pushButton))
                result.push_back(node.object);
        return result;
    };
    auto shown = m_pathBar ? buttons(*m_pathBar) : std::vector<AccessibleObject>();
    if (shown.empty()) {
        const auto bar = reader.find(m_access.frame, [](const AccessibleNode& node) {
            return node.role == AccessibleRole::toolBar ? Visit::take : Visit::enter;
        });
        const auto scrolled =
            bar ? reader.find(bar->object,
                              [](const AccessibleNode& node) {
                                  return node.role == AccessibleRole::scrollPane ? Visit::take : Visit::enter;
                              })
                : std::nullopt;
        const auto row = scrolled ? reader.find(scrolled->object,
                                                [&](const AccessibleNode& node) {
                                                    return buttons(node.object).empty() ? Visit::enter : Visit::take;
                                                })
                                  : std::nullopt;
        if (!row)
            return {};
        m_pathBar = row->object;
        shown = buttons(row->object);
    }
    std::vector<std::string> texts;
    for (const auto& button : shown) {
        const auto label = reader.find(button, [](const AccessibleNode& node) {
            return node.role == AccessibleRole::label ? Visit::take : Visit::enter;
        });
        texts.push_back(label ? reader.name(label->object) : "");
    }
    return texts;
}

/// The views of all the tabs; nothing in them tells which one is shown.
void NautilusWindow::findViews(const AccessibleReader& reader) {
    using Visit = AccessibleReader::Visit;
    m_views.clear();
    m_tabs = reader.children(m_tabList ? *m_tabList : m_access.frame);
    const auto isTabList = [&](const AccessibleNode& node) {
        return node.role == AccessibleRole::filler && reader.name(node.object) == "AdwTabView";
    };
    (void)reader.find(m_access.frame, [&](const AccessibleNode& node) {
        switch (node.role) {
        case AccessibleRole::toolBar:
        case AccessibleRole::list:
            return Visit::skip;
        case AccessibleRole::table:
        case AccessibleRole::treeTable:
            m_views.push_back(node.object);
            return Visit::skip;
        default:
            if (!m_tabList && isTabList(node))
                if (const auto pages = reader.child(node.object, 0)) {
                    m_tabList = *pages;
                    m_tabs = reader.children(*pages);
                }
            return Visit::enter;
        }
    });
}

/// Whether the views are still those that were found.
bool NautilusWindow::hasSameTabs(const AccessibleReader& reader) {
    const auto isView = [&](const AccessibleObject& each) {
        const auto role = reader.node(each).role;
        return role == AccessibleRole::table || role == AccessibleRole::treeTable;
    };
    return m_tabList && !m_views.empty() && reader.children(*m_tabList) == m_tabs &&
           std::ranges::all_of(m_views, isView);
}

/// The view of the folder that is shown, which its items tell; nothing is certain where two tabs show the same names.
std::optional<AccessibleObject> NautilusWindow::view(const AccessibleReader& reader, const ShownNames& entries) {
    const auto fitting = [&] {
        auto views = m_views;
        std::erase_if(views, [&](const AccessibleObject& each) {
            std::vector<std::int32_t> looked(
                static_cast<std::size_t>(std::clamp(reader.childCount(each), 0, kFitLooks)));
            std::iota(looked.begin(), looked.end(), 0);
            const auto names = reader.names(reader.childrenAt(reader.childrenAt(each, looked), 0));
            // A cell that is kept for later has no name.
            return names.empty() || !std::ranges::all_of(names, [&](const std::string& name) {
                       return name.empty() || entries.path(name);
                   });
        });
        return views;
    };
    auto views = std::vector<AccessibleObject>();
    if (hasSameTabs(reader))
        views = fitting();
    if (views.empty()) {
        findViews(reader);
        views = fitting();
    }
    return views.size() == 1 ? std::optional(views.front()) : std::nullopt;
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
    // Where nothing is selected at all, no more needs to be known: it is slow to answer while it loads a folder.
    if (hasSameTabs(reader) &&
        std::ranges::all_of(m_views, [&](const AccessibleObject& each) { return reader.selectedCount(each) == 0; }))
        return {};
    const auto shown = folder(deadline);
    if (!shown)
        return {};
    const ShownNames entries(*shown);
    const auto items = view(reader, entries);
    const auto count = items ? reader.selectedCount(*items) : 0;
    if (count == 0)
        return {};
    if (count <= kFewItems) {
        const auto selected = reader.names(reader.childrenAt(reader.selectedChildren(*items, count), 0));
        if (const auto paths = entries.paths(selected))
            return *paths;
    }
    // Items that are not on the screen are counted, but not made: only copies tell which of them are selected, unless
    // all are.
    const auto all = order(reader, *items, entries);
    if (all && static_cast<std::size_t>(count) == all->size())
        if (auto paths = entries.paths(*all))
            return *std::move(paths);
    auto copies =
        copiedFiles(m_access.clipboard, [&] { (void)pressInWindow(m_access.window, {kControlKey, 'c'}); }, deadline);
    // Of a text that is being edited it copies that.
    return copies.size() == static_cast<std::size_t>(count) ? std::move(copies) : std::vector<std::string>();
}

bool NautilusWindow::showsSelection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    return hasSameTabs(reader) && std::ranges::all_of(m_views, [&](const AccessibleObject& each) {
               return reader.selectedCount(each) <= kFewItems;
           });
}

void NautilusWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto shown = folder(deadline);
    if (!shown)
        return;
    ComingItems coming(*shown, items, deadline);
    std::optional<AccessibleObject> list;
    ComingItems::Found found;
    while (true) {
        const ShownNames entries(*shown);
        list = view(reader, entries);
        // The positions are those of what is made, in whatever order it was made; the rest cannot be selected.
        const auto count = list ? std::max(reader.childCount(*list), 0) : 0;
        std::vector<std::int32_t> every(static_cast<std::size_t>(count));
        std::iota(every.begin(), every.end(), 0);
        if (list)
            found =
                entries.positions(reader.names(reader.childrenAt(reader.childrenAt(*list, every), 0)), coming.items());
        if (!coming.mayCome(count, found))
            break;
        std::this_thread::sleep_for(kPause);
    }
    if (!list)
        return;
    reader.clearSelection(*list);
    reader.selectChildren(*list, knownPositions(found));
}

} // namespace torvo
