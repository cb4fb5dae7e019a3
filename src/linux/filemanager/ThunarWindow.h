#pragma once

#include "linux/filemanager/FileManagerWindow.h"
#include "linux/filemanager/ViewSearch.h"

#include <chrono>
#include <map>
#include <set>

namespace torvo {

/// A window of Thunar 4.18. Its details view is a table that is read and set through accessibility; its icon and
/// compact views show nothing of their items: they are read through the clipboard, by the window's own
/// shortcut, and for setting the window is switched to the details view and back, which keeps the selection.
class ThunarWindow final : public FileManagerWindow {
  public:
    explicit ThunarWindow(FileManagerAccess access) : m_access(std::move(access)) {}

    std::optional<std::string> folder(Deadline deadline) override;
    bool showsSelection(Deadline deadline) override;
    std::vector<std::string> selection(Deadline deadline) override;
    void select(const std::vector<std::string>& items, Deadline deadline) override;

  private:
    [[nodiscard]] std::optional<AccessibleObject> table(const AccessibleReader& reader);
    [[nodiscard]] std::optional<std::int32_t> nameColumn(const AccessibleReader& reader, const AccessibleObject& table);
    [[nodiscard]] std::vector<std::string> names(const AccessibleReader& reader, const AccessibleObject& table,
                                                 const std::vector<std::int32_t>& rows);
    [[nodiscard]] ViewItems viewItems(const AccessibleReader& reader, const AccessibleObject& table);
    [[nodiscard]] std::string statusWords(const AccessibleReader& reader);
    [[nodiscard]] std::vector<std::string> copied(const AccessibleReader& reader);
    void selectRows(const AccessibleReader& reader, const AccessibleObject& table,
                    const std::vector<std::string>& items);

    FileManagerAccess m_access;
    std::optional<AccessibleObject> m_pane;
    std::optional<AccessibleObject> m_location;
    std::optional<AccessibleObject> m_statusBar;
    /// What the status bar was seen to say when there was nothing to copy, and when: for a while that needs not be
    /// found out again.
    std::map<std::string, std::chrono::steady_clock::time_point> m_wordsOfNothing;
    /// The same with something to copy; these are never taken for the others.
    std::set<std::string> m_wordsOfSomething;
};

} // namespace torvo
