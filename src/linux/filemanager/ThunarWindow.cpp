#include "linux/filemanager/ThunarWindow.h"

#include "linux/filemanager/Breadcrumbs.h"
#include "linux/filemanager/ClipboardCopy.h"
#include "linux/filemanager/ViewSearch.h"
#include "linux/filemanager/WindowKeys.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <thread>
#include <utility>

namespace torvo {

namespace {

/// The keys that, with Control, show the views.
constexpr xcb_keysym_t kIconsKey = '1';
constexpr xcb_keysym_t kDetailsKey = '2';
constexpr xcb_keysym_t kCompactKey = '3';
/// How often a window that answers is asked to copy before there is nothing to copy.
constexpr int kCopyAttempts = 3;
/// How long it counts that there was nothing to copy.
constexpr auto kTrustTime = std::chrono::seconds(20);
/// How long a view may take to come.
constexpr auto kViewTime = std::chrono::seconds(1);

/// Whether the condition comes to hold until then.
bool comes(Deadline deadline, const std::function<bool()>& condition) {
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool isFolder(const std::string& path) {
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::optional<std::string> ThunarWindow::folder(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    if (!m_location || reader.node(*m_location).role != AccessibleRole::text) {
        m_location.reset();
        if (const auto bar = findShown(reader, m_access.frame, {AccessibleRole::toolBar}))
            m_location = findShown(reader, *bar, {AccessibleRole::text});
    }
    if (m_location) {
        std::string path = reader.text(*m_location);
        if (path.starts_with("~"))
            path.replace(0, 1, homeOfProcess(m_access.pid).value_or(""));
        if (path.starts_with('/')) {
            while (path.size() > 1 && path.ends_with('/'))
                path.pop_back();
            if (isFolder(path))
                return path;
        }
        // A name that is not UTF-8 is found by way of its folders.
        if (path.starts_with('/')) {
            std::vector<std::string> crumbs{"/"};
            for (std::size_t at = 1; at < path.size();) {
                const auto end = std::min(path.find('/', at), path.size());
                crumbs.push_back(path.substr(at, end - at));
                at = end + 1;
            }
            return folderOfBreadcrumbs(crumbs, {});
        }
    }
    // Path buttons instead of the entry; what lies deeper than the folder that is shown comes after the pressed one.
    const auto buttons = reader.find(m_access.frame, [&](const AccessibleNode& node) {
        if (!node.has(AccessibleState::showing) || node.role == AccessibleRole::menuBar)
            return AccessibleReader::Visit::skip;
        if (node.role != AccessibleRole::panel && node.role != AccessibleRole::filler)
            return AccessibleReader::Visit::enter;
        const auto toggles = childrenOfRole(reader, node.object, AccessibleRole::toggleButton);
        return toggles.size() > 1 ? AccessibleReader::Visit::take : AccessibleReader::Visit::enter;
    });
    if (!buttons)
        return std::nullopt;
    std::vector<AccessibleObject> crumbs;
    for (const auto& toggle : childrenOfRole(reader, buttons->object, AccessibleRole::toggleButton)) {
        crumbs.push_back(toggle.object);
        if (toggle.has(AccessibleState::checked))
            break;
    }
    return folderOfBreadcrumbs(reader.names(crumbs), {homeOfProcess(m_access.pid).value_or("/")});
}

std::optional<AccessibleObject> ThunarWindow::table(const AccessibleReader& reader) {
    const auto isShown = [&] {
        const auto node = reader.node(*m_pane);
        return node.role == AccessibleRole::directoryPane && node.has(AccessibleState::showing);
    };
    if (!m_pane || !isShown())
        m_pane = findShown(reader, m_access.frame, {AccessibleRole::directoryPane});
    if (!m_pane)
        return std::nullopt;
    for (const auto& node : reader.nodes(reader.children(*m_pane)))
        if (node.role == AccessibleRole::table || node.role == AccessibleRole::treeTable)
            return node.object;
    return std::nullopt;
}

/// The column whose cells hold an icon and a text.
std::optional<std::int32_t> ThunarWindow::nameColumn(const AccessibleReader& reader, const AccessibleObject& table) {
    const auto count = std::min(reader.columnCount(table), 32);
    for (std::int32_t column = 0; column < count; ++column) {
        const auto cell = reader.cells(table, {0}, column).front();
        if (!cell.path.empty() && reader.childCount(cell) == 2)
            return column;
    }
    return std::nullopt;
}

std::vector<std::string> ThunarWindow::names(const AccessibleReader& reader, const AccessibleObject& table,
                                             const std::vector<std::int32_t>& rows) {
    const auto column = rows.empty() ? std::nullopt : nameColumn(reader, table);
    if (!column)
        return {};
    return reader.names(reader.childrenAt(reader.cells(table, rows, *column), 1));
}

ViewItems ThunarWindow::viewItems(const AccessibleReader& reader, const AccessibleObject& table) {
    return {[&reader, table] { return reader.rowCount(table); },
            [this, &reader, table](const auto& rows) { return names(reader, table, rows); }};
}

/// What the status bar says without the numbers: with nothing selected, always one of a few sentences.
std::string ThunarWindow::statusWords(const AccessibleReader& reader) {
    if (!m_statusBar || reader.node(*m_statusBar).role != AccessibleRole::statusBar)
        m_statusBar = findShown(reader, m_access.frame, {AccessibleRole::statusBar});
    std::string words = m_statusBar ? reader.name(*m_statusBar) : "";
    std::erase_if(words, [](unsigned char c) { return std::isdigit(c) != 0 || c == '.' || c == ','; });
    return words;
}

std::vector<std::string> ThunarWindow::copied(const AccessibleReader& reader) {
    using std::chrono::steady_clock;
    std::erase_if(m_wordsOfNothing, [](const auto& each) { return steady_clock::now() - each.second > kTrustTime; });
    auto words = statusWords(reader);
    bool isSteady = true;
    // A window that is about to show another view takes the keys and copies nothing.
    for (int attempt = 0; attempt < kCopyAttempts && !m_wordsOfNothing.contains(words) && !reader.isOver(); ++attempt) {
        bool isPressed = false;
        auto paths = copiedFiles(
            m_access.clipboard, [&] { isPressed = pressInWindow(m_access.window, {kControlKey, 'c'}); },
            reader.deadline());
        auto wordsNow = statusWords(reader);
        if (!paths.empty()) {
            m_wordsOfSomething.insert(std::move(wordsNow));
            return paths;
        }
        if (!isPressed)
            return {};
        isSteady = isSteady && wordsNow == words;
        words = std::move(wordsNow);
    }
    if (isSteady && !words.empty() && !m_wordsOfSomething.contains(words))
        m_wordsOfNothing.try_emplace(words, steady_clock::now());
    return {};
}

bool ThunarWindow::showsSelection(Deadline deadline) {
    return table(AccessibleReader(m_access.accessibility, deadline)).has_value();
}

std::vector<std::string> ThunarWindow::selection(Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    const auto details = table(reader);
    if (!details)
        return copied(reader);
    const auto rows = reader.selectedRows(*details);
    if (rows.empty())
        return {};
    const auto shown = folder(deadline);
    if (const auto paths = shown ? certainPaths(viewItems(reader, *details), *shown, rows, false) : std::nullopt)
        return *paths;
    return copied(reader);
}

void ThunarWindow::selectRows(const AccessibleReader& reader, const AccessibleObject& table,
                              const std::vector<std::string>& items) {
    const auto shown = folder(reader.deadline());
    if (!shown)
        return;
    const auto find = [&] { return awaitItems(reader, viewItems(reader, table), *shown, items); };
    // The window may still be putting new files into their places: what was selected by its row was another file then.
    auto rows = find();
    for (bool isSettled = false; !isSettled;) {
        reader.clearSelection(table);
        reader.selectRows(table, rows);
        const auto selected = std::exchange(rows, find());
        isSettled = rows == selected || reader.isOver();
    }
}

void ThunarWindow::select(const std::vector<std::string>& items, Deadline deadline) {
    const AccessibleReader reader(m_access.accessibility, deadline);
    if (const auto details = table(reader)) {
        if (items.empty())
            reader.clearSelection(*details);
        else
            selectRows(reader, *details, items);
        return;
    }
    if (items.empty()) {
        (void)pressInWindow(m_access.window, {kEscapeKey});
        return;
    }
    const auto view = m_pane ? reader.name(*m_pane) : "";
    if (view.empty() || !pressInWindow(m_access.window, {kControlKey, kDetailsKey}))
        return;
    std::optional<AccessibleObject> details;
    (void)comes(reader.deadline(), [&] { return (details = table(reader)).has_value(); });
    if (details)
        selectRows(reader, *details, items);
    // The way back must work even when the time is over.
    const AccessibleReader last(m_access.accessibility, std::chrono::steady_clock::now() + 2 * kViewTime);
    const auto isAway = [&] { return !table(last) && m_pane; };
    const auto isBack = [&] { return isAway() && last.name(*m_pane) == view; };
    if (pressInWindow(m_access.window, {kControlKey, kIconsKey}) && comes(last.deadline(), isAway) && !isBack() &&
        pressInWindow(m_access.window, {kControlKey, kCompactKey}))
        (void)comes(last.deadline(), isBack);
}

} // namespace torvo
