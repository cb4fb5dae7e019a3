#pragma once

#include "linux/filemanager/FileManagerWindow.h"

#include <set>

namespace torvo {

/// A window of Thunar 4.18. Its details view is a table that is read and set through accessibility; its icon and
/// compact views show nothing of their items: they are read through the clipboard, and for setting the window is
/// switched to the details view and back, which keeps the selection.
class ThunarWindow final : public FileManagerWindow {
  public:
    explicit ThunarWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleObject> table(const AccessibleReader& reader);
    [[nodiscard]] std::optional<std::int32_t> nameColumn(const AccessibleReader& reader, const AccessibleObject& table);
    [[nodiscard]] std::vector<std::string> names(const AccessibleReader& reader, const AccessibleObject& table,
                                                 const std::vector<std::int32_t>& rows);
    void remakeMenu(const AccessibleReader& reader, const AccessibleObject& menu);
    [[nodiscard]] std::string statusWords(const AccessibleReader& reader);
    [[nodiscard]] std::vector<std::string> copied(const AccessibleReader& reader);
    /// The item of a menu (counted from 0) that has a shortcut.
    [[nodiscard]] std::optional<AccessibleNode> menuItem(const AccessibleReader& reader, std::size_t menu,
                                                         std::string_view shortcut, bool isFresh = false);
    void selectRows(const AccessibleReader& reader, const AccessibleObject& table,
                    const std::vector<std::string>& items);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_pane;
    std::optional<AccessibleObject> m_location;
    std::optional<AccessibleObject> m_menuBar;
    std::optional<AccessibleObject> m_statusBar;
    /// What the status bar was seen to say with nothing selected: then no menu needs to be opened to find that out.
    std::set<std::string> m_wordsOfNothing;
};

} // namespace torvo
